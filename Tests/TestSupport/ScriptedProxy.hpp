#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CorvaneTesting/Internal/Descriptor.hpp"
#include "TestSupport/DigestVerifier.hpp"

namespace corvane::testkit {

/// A proxy on the loopback interface that makes tunnels: by CONNECT, or by SOCKS 5, as each client asks. It resolves
/// the names that `leadTo` tells it, and no others.
///
/// Every connection has its own thread. All members may be called on any thread.
class ScriptedProxy {
 public:
  struct Options {
    /// Demanded of every client; both empty: nothing is.
    std::string user;
    std::string password;
    /// Demanded of those who ask for a tunnel, in place of the two.
    std::shared_ptr<DigestVerifier> digest;
    /// Sent in place of what a client's first message deserves; the connection is then closed, or held open.
    std::string reply;
    bool holds = false;
  };

  ScriptedProxy();
  explicit ScriptedProxy(Options options);
  /// Ends every connection and joins every thread.
  ~ScriptedProxy();
  ScriptedProxy(const ScriptedProxy&) = delete;
  ScriptedProxy& operator=(const ScriptedProxy&) = delete;

  std::uint16_t port() const { return port_; }
  /// From now on the name leads to this port on 127.0.0.1, whatever port is asked for.
  void leadTo(const std::string& name, std::uint16_t port);
  /// What clients said, in the order of arrival: the head of a CONNECT, or "SOCKS name:port" with "user:password@"
  /// before the name where the client told them. A request is here after the reply in place of a proper one was sent.
  std::vector<std::string> requests() const;
  int connectionCount() const;
  /// Waits until so many requests came; false after ten seconds.
  [[nodiscard]] bool waitForRequests(std::size_t count) const;
  /// Waits until no connection is open; false after ten seconds.
  [[nodiscard]] bool waitUntilAllClosed() const;

 private:
  struct Client {
    detail::Descriptor socket;
    detail::Descriptor server;
    std::thread thread;
  };

  void accept();
  void serve(Client& client);
  void serveConnect(Client& client);
  std::string challengeFor(const std::string& head, const std::string& authority);
  void serveSOCKS(Client& client);
  bool authenticateSOCKS(Client& client, std::string& credentials);
  bool misbehaves() const { return !options_.reply.empty() || options_.holds; }
  void misbehave(Client& client, const std::string& request);
  bool open(Client& client, const std::string& name);
  void relay(Client& client);
  void hold(Client& client);
  void note(std::string request);
  bool waitUntil(const std::function<bool()>& predicate) const;

  const Options options_;
  detail::Descriptor listener_;
  detail::Descriptor stop_;
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::map<std::string, std::uint16_t> names_;
  std::vector<std::string> requests_;
  std::list<Client> clients_;
  int connections_ = 0;
  int open_ = 0;
  std::thread thread_;
};

}  // namespace corvane::testkit
