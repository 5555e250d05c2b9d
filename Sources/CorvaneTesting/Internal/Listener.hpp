#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CorvaneTesting/Internal/Connection.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane::testkit::detail {

/// Accepts connections on one port of one or more addresses, and owns them.
class Listener {
 public:
  Listener(const std::vector<std::string>& addresses, std::uint16_t port, ServerContext& context);
  /// Ends every connection and joins every thread; `ServerContext::stop` must have been raised.
  ~Listener();

  std::uint16_t port() const { return port_; }
  /// Closes the listening sockets; open connections go on.
  void stopAccepting();
  void forEachConnection(const std::function<void(Connection&)>& visit);

 private:
  void accept();
  void acceptOne(int listening);
  void forgetFinished();

  ServerContext& context_;
  std::uint16_t port_ = 0;
  std::vector<Descriptor> sockets_;
  Event stopAccepting_;
  platform::detail::Mutex mutex_;
  std::list<std::unique_ptr<Connection>> connections_ CORVANE_GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace corvane::testkit::detail
