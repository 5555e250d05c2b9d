#include "TestSupport/DigestVerifier.hpp"

#include "Platform/Networking/Authentication/AuthenticationChallenge.hpp"
#include "Platform/Security/Internal/MessageDigest.hpp"

namespace corvane::testkit {

namespace {

std::string hash(std::string_view text) {
  return platform::detail::MessageDigest::hexOf(platform::detail::HashFunction::sha256, text);
}

}  // namespace

std::string DigestVerifier::challenge() const {
  const std::lock_guard lock(mutex_);
  return R"(Digest realm="test", algorithm=SHA-256, qop=")" + protection_ + R"(", nonce=")" + nonce_ + '"' +
         (isStale_ ? ", stale=true" : "");
}

void DigestVerifier::useNonce(std::string nonce) {
  const std::lock_guard lock(mutex_);
  nonce_ = std::move(nonce);
  counts_.clear();
}

bool DigestVerifier::accepts(std::string_view method, std::string_view target, std::string_view value,
                             std::string_view body) {
  const auto read = platform::networking::AuthenticationChallenge::parse(std::string(value));
  const std::lock_guard lock(mutex_);
  isStale_ = false;
  if (read.size() != 1 || read[0].scheme != "digest") return false;
  const auto of = [&](std::string_view name) {
    const std::string* const found = read[0].parameter(name);
    return found ? *found : std::string();
  };
  const std::string secret = hash(user_ + ":test:" + password_);
  std::string covered = std::string(method) + ":" + std::string(target);
  if (protection_ == "auth-int") covered += ":" + hash(body);
  const std::string expected =
      hash(secret + ":" + of("nonce") + ":" + of("nc") + ":" + of("cnonce") + ":" + protection_ + ":" + hash(covered));
  if (of("username") != user_ || of("uri") != target || of("qop") != protection_ || of("response") != expected)
    return false;
  isStale_ = of("nonce") != nonce_;
  return !isStale_ && counts_.insert(of("nc")).second;
}

}  // namespace corvane::testkit
