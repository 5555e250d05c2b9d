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

/// Where a challenge came from.
struct URLProtectionSpace {
  /// The host that is connected to.
  std::string host;
  /// The port that is connected to.
  int port = 0;
  std::string protocol;  ///< "https"
  /// "NSURLAuthenticationMethodServerTrust".
  std::string authenticationMethod;
  /// The server's chain, ready to be evaluated for `host`; null for other kinds of challenge.
  std::shared_ptr<SecTrust> serverTrust;
};

/// A question to the delegate: whether to go on with a server.
struct URLAuthenticationChallenge {
  /// Where it came from.
  URLProtectionSpace protectionSpace;
};

/// Accepts the server by the trust object it was made from.
struct URLCredential {
  /// The object of the challenge, as it came.
  std::shared_ptr<SecTrust> trust;
};

/// What to do with a challenge. The numbers are the platform's.
enum class AuthChallengeDisposition {
  useCredential = 0,
  performDefaultHandling = 1,
  cancelAuthenticationChallenge = 2,
  rejectProtectionSpace = 3,
};

/// Told about a session's life, and asked about servers' trust. Called on the session's delegate queue.
class CORVANE_API URLSessionDelegate {
 public:
  /// Answers a challenge. The credential goes with `useCredential`, and is absent otherwise.
  using ChallengeCompletion = std::function<void(AuthChallengeDisposition, std::optional<URLCredential>)>;

  virtual ~URLSessionDelegate();
  /// Once, after the last task of an invalidated session; the session then releases its delegate.
  virtual void didBecomeInvalid(const std::shared_ptr<URLSession>& session, const std::optional<Error>& error);
  /// Once for each new TLS connection, before anything of the request is sent. `completion` must be called
  /// once, on any thread, now or later: the request's time-out does not run meanwhile. Default:
  /// `performDefaultHandling`, i.e. the system's anchors and the host name decide.
  virtual void didReceiveChallenge(const std::shared_ptr<URLSession>& session,
                                   const URLAuthenticationChallenge& challenge, ChallengeCompletion completion);
};

}  // namespace platform
