#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/Authentication/AuthenticationChallenge.hpp"
#include "Platform/Security/Internal/MessageDigest.hpp"

namespace platform::networking {

/// What a server asks for by "Digest" (RFC 7616, 3.3).
struct DigestChallenge {
  /// What the digest covers: the request line (also in the form of RFC 2069, without a name), or the body, too.
  enum class Protection { none, auth, authInt };

  std::string realm;
  std::string nonce;
  std::optional<std::string> opaque;
  detail::HashFunction function = detail::HashFunction::md5;
  /// As the server wrote it; empty: not given.
  std::string algorithm;
  bool isSession = false;
  Protection protection = Protection::none;
  bool isStale = false;
  bool hashesUser = false;
  bool isUTF8 = false;

  /// Whether requests that respond to either are counted together.
  bool hasNonceOf(const DigestChallenge& other) const {
    return nonce == other.nonce && opaque == other.opaque && realm == other.realm && function == other.function &&
           isSession == other.isSession && protection == other.protection;
  }

  /// Absent for another scheme, for an algorithm or a protection that is not known, and without a realm or a nonce;
  /// also for "-sess" without a protection, where the server would not learn the client's nonce.
  static std::optional<DigestChallenge> read(const AuthenticationChallenge& challenge);
  /// The strongest of those in the fields "WWW-Authenticate"; the first of equals. Only of those that leave the body
  /// alone, where that cannot be covered.
  static std::optional<DigestChallenge> strongest(const std::vector<std::string>& fields, bool canCoverBody = true);
};

}  // namespace platform::networking
