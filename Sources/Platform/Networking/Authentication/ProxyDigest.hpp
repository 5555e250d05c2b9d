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

  /// What a request tells the proxy.
  struct Authorization {
    /// Of "Proxy-Authorization". Empty before the first challenge, and where the digest covers the body ("auth-int")
    /// and that is not in memory.
    std::string value;
    /// That the value is for.
    std::optional<std::string> nonce;
  };
  /// A request that got a response.
  struct Attempt {
    /// That it was sent with.
    const std::optional<std::string>& nonce;
    /// How many it has responded to already.
    unsigned challenges = 0;
    bool hasBodyInMemory = true;
  };

  explicit ProxyDigest(DigestUser user) : user_(std::move(user)) {}

  /// For a request that goes out now; counts it. `body`: absent where it is not in memory.
  Authorization authorize(std::string_view method, std::string_view target, std::optional<Bytes> body);
  /// Takes over the challenge in the fields of a response with the status 407.
  Verdict accept(std::span<const FieldView> fields, const Attempt& attempt);
  /// The response had another status. Takes over the nonce that its fields ask for, if any (RFC 7616, 3.5).
  void note(std::span<const FieldView> fields, const std::optional<std::string>& nonce);
  /// What the fields of a response with the status 407 ask for, by name in lower case: "basic, negotiate".
  static std::string schemes(std::span<const FieldView> fields);

 private:
  bool isInForce(const std::optional<std::string>& nonce) const CORVANE_REQUIRES(mutex_);
  /// False where this OpenSSL does not have the hash function.
  bool begin(DigestChallenge challenge) CORVANE_REQUIRES(mutex_);

  const DigestUser user_;
  detail::Mutex mutex_;
  std::optional<DigestSession> session_ CORVANE_GUARDED_BY(mutex_);
  /// Whether the proxy took the user and the password since the session began, or since it refused them last.
  bool isConfirmed_ CORVANE_GUARDED_BY(mutex_) = false;
};

}  // namespace platform::networking
