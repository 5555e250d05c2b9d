#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Networking/Authentication/DigestSession.hpp"
#include "Platform/Networking/RequestHead.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// Responds to the challenges of an HTTP proxy by "Digest" (RFC 7616): knows the nonce in force, and how often all
/// requests of a pool together have used it. Thread-safe.
class ProxyDigest {
 public:
  /// What the response to a challenge can do for the request that was refused.
  enum class Verdict {
    again,       ///< the request may succeed now
    refused,     ///< the proxy does not take the user name or the password
    unsupported  ///< it asks for nothing that can be responded to
  };
  /// How many challenges in a row a request responds to: another one follows where a nonce is stale at once.
  static constexpr unsigned mostChallenges = 3;

  explicit ProxyDigest(DigestUser user) : user_(std::move(user)) {}

  /// The value of "Proxy-Authorization" for a request; counts it. Empty before the first challenge, and where the
  /// digest covers the body ("auth-int") and that is not in memory. `body`: absent where it is not in memory.
  std::string authorization(std::string_view method, std::string_view target, std::optional<Bytes> body);
  /// Takes over the challenge in the fields of a response with the status 407. `challenges`: how many the request has
  /// responded to already.
  Verdict accept(std::span<const FieldView> fields, unsigned challenges, bool hasBodyInMemory);
  /// Takes over the nonce that the fields of another response ask for, if any (RFC 7616, 3.5).
  void note(std::span<const FieldView> fields);
  /// What the fields of a response with the status 407 ask for, by name in lower case: "basic, negotiate".
  static std::string schemes(std::span<const FieldView> fields);

 private:
  Verdict begin(DigestChallenge challenge) CORVANE_REQUIRES(mutex_);

  const DigestUser user_;
  detail::Mutex mutex_;
  std::optional<DigestSession> session_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace platform::networking
