#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace corvane::testkit {

/// The side of HTTP Digest (RFC 7616, SHA-256) that asks: hands out challenges, and verifies what responds to them. A
/// count of a nonce is taken once. Thread-safe.
class DigestVerifier {
 public:
  DigestVerifier(std::string user, std::string password, std::string protection = "auth")
      : user_(std::move(user)), password_(std::move(password)), protection_(std::move(protection)) {}

  /// What to ask for, as in "Proxy-Authenticate".
  std::string challenge() const;
  /// From now on this nonce is the only one; responses to another one are told that it is stale.
  void useNonce(std::string nonce);
  /// Whether that value of "Proxy-Authorization" is for such a request.
  bool accepts(std::string_view method, std::string_view target, std::string_view value, std::string_view body = {});

 private:
  const std::string user_;
  const std::string password_;
  const std::string protection_;
  mutable std::mutex mutex_;
  std::string nonce_ = "first";
  bool isStale_ = false;
  std::set<std::string> counts_;
};

}  // namespace corvane::testkit
