#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace corvane::testing {

/// A port on 127.0.0.1 that refuses every connection, for the process's life: it is bound, so that no other process can
/// take it, and never listens.
std::uint16_t unusedPort();
/// `http://127.0.0.1:PORT` and the target, at a port that refuses.
std::string refusedUrl(std::string_view target = "/");

/// A port on 127.0.0.1 that leaves connection attempts unanswered: neither accepted nor refused.
class SilentPort {
 public:
  /// Takes a free port.
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

}  // namespace corvane::testing
