#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Networking/Authentication/DigestChallenge.hpp"

namespace platform::networking {

/// A user with a password, both in UTF-8.
struct DigestUser {
  std::string name;
  std::string password;
};

/// What the digest of a request covers.
struct DigestSubject {
  std::string_view method;
  /// The target, as it is in the request line.
  std::string_view target;
  /// The hash of the body, in hexadecimal digits, for "auth-int".
  std::string bodyHash = {};
};

/// The requests that respond to one challenge: the nonce, and how often it was used (RFC 7616, 3.4). One thread at a
/// time.
class DigestSession {
 public:
  /// `cnonce` is the client's own nonce for all requests of the session: random text.
  DigestSession(const DigestUser& user, DigestChallenge challenge, std::string cnonce);

  const DigestChallenge& challenge() const { return challenge_; }
  /// The value of "Authorization" for the next request; counts it.
  std::string authorization(const DigestSubject& subject);
  /// The server wants this nonce from now on (RFC 7616, 3.5). Where it is in use already, it goes on to be counted.
  void useNonce(std::string nonce);

 private:
  std::string hash(std::string_view text) const;
  std::string response(const DigestSubject& subject, const std::string& count) const;

  DigestChallenge challenge_;
  const std::string cnonce_;
  /// The parameter that names the user.
  std::string user_;
  /// H(A1).
  std::string secret_;
  std::uint32_t count_ = 0;
};

}  // namespace platform::networking
