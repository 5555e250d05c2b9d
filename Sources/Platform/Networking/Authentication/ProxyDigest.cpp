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

std::string ProxyDigest::authorization(std::string_view method, std::string_view target, std::optional<Bytes> body) {
  const MutexLock lock(mutex_);
  if (!session_) return {};
  DigestSubject subject{.method = method, .target = target};
  const DigestChallenge& challenge = session_->challenge();
  const bool coversBody = challenge.protection == Protection::authInt;
  if (coversBody && !body) return {};
  try {
    if (coversBody) subject.bodyHash = hashOf(challenge.function, *body);
    return session_->authorization(subject);
  } catch (const Error&) {
    // OpenSSL has lost the hash function. The proxy's refusal of the request tells of it.
    session_.reset();
    return {};
  }
}

ProxyDigest::Verdict ProxyDigest::accept(std::span<const FieldView> fields, unsigned challenges, bool hasBodyInMemory) {
  auto challenge = DigestChallenge::strongest(valuesOf(fields, "Proxy-Authenticate"));
  if (!challenge || (challenge->protection == Protection::authInt && !hasBodyInMemory)) return Verdict::unsupported;
  // The first nonce may have been an old one.
  if (challenges == mostChallenges || (challenges > 0 && !challenge->isStale)) return Verdict::refused;
  const MutexLock lock(mutex_);
  // A nonce that the proxy gives more than once goes on to be counted.
  if (session_ && challenge->hasNonceOf(session_->challenge())) return Verdict::again;
  return begin(*std::move(challenge));
}

ProxyDigest::Verdict ProxyDigest::begin(DigestChallenge challenge) {
  try {
    session_.emplace(user_, std::move(challenge), UUID().uuidString());
    return Verdict::again;
  } catch (const Error&) {
    // This OpenSSL does not have the hash function.
    session_.reset();
    return Verdict::unsupported;
  }
}

void ProxyDigest::note(std::span<const FieldView> fields) {
  for (const std::string& field : valuesOf(fields, "Proxy-Authentication-Info")) {
    const auto information = AuthenticationChallenge::ofParameters(field);
    const std::string* const next = information.parameter("nextnonce");
    if (!next || next->empty()) continue;
    const MutexLock lock(mutex_);
    if (session_) session_->useNonce(*next);
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
