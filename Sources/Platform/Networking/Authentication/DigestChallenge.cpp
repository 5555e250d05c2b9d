#include "Platform/Networking/Authentication/DigestChallenge.hpp"

#include <utility>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

using detail::HashFunction;
using detail::lowercased;

namespace {

bool readAlgorithm(DigestChallenge& challenge, std::string_view name) {
  constexpr std::string_view sessionSuffix = "-sess";
  challenge.algorithm = name;
  std::string plain = lowercased(name);
  challenge.isSession = plain.ends_with(sessionSuffix);
  if (challenge.isSession) plain.resize(plain.size() - sessionSuffix.size());
  if (plain == "md5") {
    challenge.function = HashFunction::md5;
  } else if (plain == "sha-256") {
    challenge.function = HashFunction::sha256;
  } else if (plain == "sha-512-256") {
    challenge.function = HashFunction::sha512_256;
  } else {
    return false;
  }
  return true;
}

/// The body is hashed only where the server leaves no choice: that takes another reading of it.
bool readProtection(DigestChallenge& challenge, std::string_view list) {
  using Protection = DigestChallenge::Protection;
  bool knowsAny = false;
  detail::forEachListElement(list, [&](std::string_view element) {
    const std::string name = lowercased(element);
    if (name == "auth") challenge.protection = Protection::auth;
    if (name == "auth-int" && !knowsAny) challenge.protection = Protection::authInt;
    knowsAny = knowsAny || name == "auth" || name == "auth-int";
  });
  return knowsAny;
}

bool isTrue(const std::string* value) { return value && lowercased(*value) == "true"; }

}  // namespace

std::optional<DigestChallenge> DigestChallenge::read(const AuthenticationChallenge& challenge) {
  const std::string* const realm = challenge.parameter("realm");
  const std::string* const nonce = challenge.parameter("nonce");
  if (challenge.scheme != "digest" || !realm || !nonce) return std::nullopt;
  DigestChallenge made;
  made.realm = *realm;
  made.nonce = *nonce;
  if (const auto* const opaque = challenge.parameter("opaque")) made.opaque = *opaque;
  if (const auto* const name = challenge.parameter("algorithm")) {
    if (!readAlgorithm(made, *name)) return std::nullopt;
  }
  if (const auto* const list = challenge.parameter("qop")) {
    if (!readProtection(made, *list)) return std::nullopt;
  }
  if (made.isSession && made.protection == Protection::none) return std::nullopt;
  made.isStale = isTrue(challenge.parameter("stale"));
  made.hashesUser = isTrue(challenge.parameter("userhash"));
  const auto* const charset = challenge.parameter("charset");
  made.isUTF8 = charset && lowercased(*charset) == "utf-8";
  return made;
}

std::optional<DigestChallenge> DigestChallenge::strongest(const std::vector<std::string>& fields, bool canCoverBody) {
  std::optional<DigestChallenge> best;
  for (const std::string& field : fields) {
    for (const auto& challenge : AuthenticationChallenge::parse(field)) {
      auto read = DigestChallenge::read(challenge);
      if (read && read->protection == Protection::authInt && !canCoverBody) continue;
      if (read && (!best || read->function > best->function)) best = std::move(read);
    }
  }
  return best;
}

}  // namespace platform::networking
