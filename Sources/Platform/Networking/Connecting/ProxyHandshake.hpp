#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Networking/Connecting/Proxy.hpp"
#include "Platform/Networking/Connecting/Route.hpp"
#include "Platform/Networking/Failure.hpp"

namespace platform::networking {

/// What is said to a proxy, and heard of it, until a connection leads to the origin. Moves no bytes itself: its user
/// writes what is `unsent`, reads at most `wanted` bytes, and hands them to `take`, until that says something else than
/// `talking`.
class ProxyHandshake {
 public:
  enum class State : std::uint8_t {
    talking,
    open,
    challenged,  ///< the proxy wants credentials, which are known now: a handshake on another connection may succeed
    failed
  };

  /// For a proxy of that kind, which is not `none`. The proxy outlives it. `challenges`: how many handshakes before
  /// this one ended as `challenged`.
  static std::unique_ptr<ProxyHandshake> make(const Proxy& proxy, const Origin& origin, unsigned challenges);
  virtual ~ProxyHandshake() = default;
  ProxyHandshake(const ProxyHandshake&) = delete;
  ProxyHandshake& operator=(const ProxyHandshake&) = delete;

  /// What is to be written next; more may follow after `take`.
  std::string_view unsent() const { return std::string_view(output_).substr(sent_); }
  void sent(std::size_t count) { sent_ += count; }
  /// How many bytes may be read now, at least one. Those that follow may be the origin's.
  virtual std::size_t wanted() const = 0;
  /// Requires: it is talking; `bytes` are not more than `wanted`.
  virtual State take(std::string_view bytes) = 0;
  /// Why it failed. Never names the password.
  const Failure& failure() const { return failure_; }

 protected:
  explicit ProxyHandshake(const Proxy& proxy) : proxy_(proxy) {}

  const Proxy& proxy() const { return proxy_; }
  void say(std::string bytes);
  /// `what` follows the proxy's name in the message.
  State fail(FailureCause cause, const std::string& what);

 private:
  const Proxy& proxy_;
  std::string output_;
  std::size_t sent_ = 0;
  Failure failure_;
};

}  // namespace platform::networking
