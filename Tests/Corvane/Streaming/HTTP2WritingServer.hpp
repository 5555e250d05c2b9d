#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Internal/Descriptor.hpp"

namespace corvane {

/// A server for one connection, which speaks HTTP/2 over TLS. To the first request for "/body" it sends a body of this
/// length as fast as the client's windows let it, and knows how much it could send; "/broken" is the same, and is reset
/// in the middle. A GET of "/fresh" or "/validated" gets how many such responses there were, which may be stored: the
/// one for a while and each language, the other to be validated. Everything else gets "fine".
class HTTP2WritingServer {
 public:
  HTTP2WritingServer(const testkit::CertificateAuthority& authority, std::uint64_t bodyBytes);
  ~HTTP2WritingServer();
  HTTP2WritingServer(const HTTP2WritingServer&) = delete;
  HTTP2WritingServer& operator=(const HTTP2WritingServer&) = delete;

  std::string url(std::string_view target) const;
  /// Waits until no window lets more of the body out, or all of it left; gives what has left.
  std::uint64_t writtenWhenHeldUp();
  bool hasWrittenAll() const;
  /// Waits until the client reset the stream of the body; false where it does not.
  bool waitUntilReset();

 private:
  class Connection;
  /// What is known of the body.
  struct Progress {
    std::uint64_t written = 0;
    bool isHeldUp = false;
    bool isReset = false;
    bool isClosed = false;
  };

  void run();
  void serve(int connection);
  void tell(const Progress& progress);

  const testkit::Certificate certificate_;
  const std::uint64_t bodyBytes_;
  testkit::detail::Descriptor listener_;
  testkit::detail::Descriptor wakeUp_;
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Progress progress_;
  std::thread thread_;
};

}  // namespace corvane
