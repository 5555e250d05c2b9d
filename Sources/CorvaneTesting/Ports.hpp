#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace corvane::testkit {

/// A port on 127.0.0.1 that refuses every connection as long as the process runs: it is bound, so that no other process
/// can use it, and never listens.
std::uint16_t unusedPort();
/// `http://127.0.0.1:PORT` and the target, with a port that refuses connections.
std::string refusedUrl(std::string_view target = "/");

/// A port on 127.0.0.1 that neither accepts nor refuses connection attempts.
class SilentPort {
 public:
  /// Uses a free port.
  SilentPort();
  ~SilentPort();
  SilentPort(const SilentPort&) = delete;
  SilentPort& operator=(const SilentPort&) = delete;

  /// The port that never responds.
  std::uint16_t port() const;
  /// `http://127.0.0.1:PORT` and the target.
  std::string url(std::string_view target = "/") const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace corvane::testkit
