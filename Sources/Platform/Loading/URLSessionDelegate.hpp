#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform {

class URLSession;

/// The server that a challenge is about.
///
///     const URLProtectionSpace& server = challenge.protectionSpace;
///     std::printf("%s:%d\n", server.host.c_str(), server.port);
struct URLProtectionSpace {
  /// The host of the connection.
  std::string host;
  /// The port of the connection.
  int port = 0;
  std::string protocol;  ///< "https"
  /// "NSURLAuthenticationMethodServerTrust".
  std::string authenticationMethod;
  /// The server's chain, ready to be evaluated for `host`; null for other kinds of challenge.
  std::shared_ptr<SecTrust> serverTrust;
};

/// Asks the delegate whether to continue with a server.
///
///     const auto trust = challenge.protectionSpace.serverTrust;
struct URLAuthenticationChallenge {
  /// The server.
  URLProtectionSpace protectionSpace;
};

/// Accepts the server that the trust object belongs to.
///
///     completion(AuthChallengeDisposition::useCredential, URLCredential{challenge.protectionSpace.serverTrust});
struct URLCredential {
  /// The `serverTrust` of the challenge.
  std::shared_ptr<SecTrust> trust;
};

/// The delegate's decision on a challenge. The numbers are the platform's.
///
///     completion(AuthChallengeDisposition::performDefaultHandling, std::nullopt);
enum class AuthChallengeDisposition {
  useCredential = 0,
  performDefaultHandling = 1,
  cancelAuthenticationChallenge = 2,
  rejectProtectionSpace = 3,
};

/// Is notified of a session's end, and decides about trust in servers. Called on the session's delegate queue.
///
///     class OwnServers : public URLSessionDelegate {
///       void didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge& challenge,
///                                ChallengeCompletion completion) override {
///         const auto trust = challenge.protectionSpace.serverTrust;
///         trust->evaluate() == SecTrustResult::unspecified
///             ? completion(AuthChallengeDisposition::useCredential, URLCredential{trust})
///             : completion(AuthChallengeDisposition::cancelAuthenticationChallenge, std::nullopt);
///       }
///     };
class CORVANE_API URLSessionDelegate {
 public:
  /// Responds to a challenge. The credential is for `useCredential`, and absent otherwise.
  using ChallengeCompletion = std::function<void(AuthChallengeDisposition, std::optional<URLCredential>)>;

  virtual ~URLSessionDelegate();
  /// Called once, after the last task of an invalidated session; the session then releases its delegate.
  virtual void didBecomeInvalid(const std::shared_ptr<URLSession>& session, const std::optional<Error>& error);
  /// Called once for each full TLS handshake, before any byte of the request is sent; not for a connection that resumes
  /// a TLS session. `completion` must be called once, on any thread, now or later: the request's time-out does not run
  /// meanwhile. Default: `performDefaultHandling`, i.e. the anchors of the system and of the session's configuration
  /// and the host name decide. Pins of the configuration are checked whatever the delegate decides.
  virtual void didReceiveChallenge(const std::shared_ptr<URLSession>& session,
                                   const URLAuthenticationChallenge& challenge, ChallengeCompletion completion);
};

}  // namespace platform
