#include "Platform/Networking/Authentication/ProxyDigest.hpp"

#include <utility>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

using detail::MessageDigest;
using detail::MutexLock;
using Protection = DigestChallenge::Protection;

namespace {

std::string hashOf(detail::HashFunction function, Bytes bytes) {
  MessageDigest digest(function);
  digest.add(bytes);
  return digest.hex();
}

std::vector<std::string> valuesOf(std::span<const FieldView> fields, std::string_view name) {
  std::vector<std::string> values;
  for (const FieldView& field : fields) {
    if (detail::equalsIgnoringCase(field.name, name)) values.emplace_back(field.value);
  }
  return values;
}

}  // namespace

ProxyDigest::Authorization ProxyDigest::authorize(std::string_view method, std::string_view target,
                                                  std::optional<Bytes> body) {
  const MutexLock lock(mutex_);
  if (!session_) return {};
  DigestSubject subject{.method = method, .target = target};
  const DigestChallenge& challenge = session_->challenge();
  const bool coversBody = challenge.protection == Protection::authInt;
  if (coversBody && !body) return {};
  try {
    if (coversBody) subject.bodyHash = hashOf(challenge.function, *body);
    return {.value = session_->authorization(subject), .nonce = challenge.nonce};
  } catch (const Error&) {
    // OpenSSL has lost the hash function. The proxy's refusal of the request tells of it.
    session_.reset();
    return {};
  }
}

bool ProxyDigest::isInForce(const std::optional<std::string>& nonce) const {
  return session_ && nonce == session_->challenge().nonce;
}

ProxyDigest::Verdict ProxyDigest::accept(std::span<const FieldView> fields, const Attempt& attempt) {
  auto challenge = DigestChallenge::strongest(valuesOf(fields, "Proxy-Authenticate"), attempt.hasBodyInMemory);
  if (!challenge) return Verdict::unsupported;
  const MutexLock lock(mutex_);
  // The password is wrong where a nonce is refused that is not stale (RFC 7616, 3.3), unless it has been taken before:
  // then the proxy may have begun anew. What was sent before a newer challenge came says nothing.
  const bool isWrong = isInForce(attempt.nonce) && !challenge->isStale && !std::exchange(isConfirmed_, false);
  // A nonce that the proxy gives more than once goes on to be counted.
  const bool isKnown = session_ && challenge->hasNonceOf(session_->challenge());
  if (!isKnown && !begin(*std::move(challenge))) return Verdict::unsupported;
  return isWrong || attempt.challenges == mostChallenges ? Verdict::refused : Verdict::again;
}

bool ProxyDigest::begin(DigestChallenge challenge) {
  isConfirmed_ = false;
  try {
    session_.emplace(user_, std::move(challenge), UUID().uuidString());
    return true;
  } catch (const Error&) {
    session_.reset();
    return false;
  }
}

void ProxyDigest::note(std::span<const FieldView> fields, const std::optional<std::string>& nonce) {
  const std::vector<std::string> information = valuesOf(fields, "Proxy-Authentication-Info");
  const MutexLock lock(mutex_);
  isConfirmed_ = isConfirmed_ || isInForce(nonce);
  for (const std::string& field : information) {
    const auto parameters = AuthenticationChallenge::ofParameters(field);
    const std::string* const next = parameters.parameter("nextnonce");
    if (next && !next->empty() && session_) session_->useNonce(*next);
  }
}

std::string ProxyDigest::schemes(std::span<const FieldView> fields) {
  std::string names;
  for (const std::string& field : valuesOf(fields, "Proxy-Authenticate")) {
    for (const auto& challenge : AuthenticationChallenge::parse(field)) {
      if (!names.empty()) names += ", ";
      names += detail::printable(challenge.scheme);
    }
  }
  return names;
}

}  // namespace platform::networking
