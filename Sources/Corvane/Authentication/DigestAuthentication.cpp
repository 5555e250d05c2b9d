#include "Corvane/Authentication/DigestAuthentication.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Corvane/Authentication/Internal/BodyHash.hpp"
#include "Corvane/Authentication/Internal/CredentialScope.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Loading/Internal/RedirectPolicy.hpp"
#include "Platform/Loading/Internal/RequestTarget.hpp"
#include "Platform/Loading/URLBodyStream.hpp"
#include "Platform/Networking/Authentication/DigestSession.hpp"

namespace corvane {

using platform::URL;
using platform::URLRequest;
using platform::detail::haveSameOrigin;
using platform::detail::MutexLock;
using platform::networking::AuthenticationChallenge;
using platform::networking::DigestChallenge;
using platform::networking::DigestSession;
using platform::networking::DigestSubject;
using platform::networking::DigestUser;
using velisand::Future;

namespace {

/// With a nonce that is known, with a fresh one, with one more where that was stale at once, and to the targets of two
/// redirects.
constexpr int mostSendsWithDigest = 5;

/// Lets the server refuse the request before it takes a body that there is but once (RFC 9110, 10.1.1).
void expectRefusal(URLRequest& request) {
  const auto& body = request.httpBodyStream;
  if (body && !body->isRepeatable()) request.allHTTPHeaderFields.set("Expect", "100-continue");
}

/// Whether one of the redirects made it a GET (RFC 9110, 15.4).
bool becameGet(const std::string& method, const std::vector<platform::URLRedirect>& redirects) {
  return std::any_of(redirects.begin(), redirects.end(), [&](const platform::URLRedirect& redirect) {
    return platform::detail::becomesGet(redirect.statusCode, method);
  });
}

/// A digest is for one target, and no redirect takes it along. Where one led to a challenge of the same origin, the
/// request is from now on the one that was challenged: the first one was taken, and is not sent again.
bool followsRedirect(URLRequest& request, const HTTPInterceptedResponse& response, bool hasBodyFile) {
  if (response.error || response.statusCode() != 401 || !haveSameOrigin(*response.url(), request.url)) return false;
  const auto redirects = response.httpResponse()->redirects();
  if (redirects.empty()) return false;
  const bool becomesGet = becameGet(request.httpMethod, redirects);
  if (becomesGet && hasBodyFile) return false;
  const std::string target = response.url()->absoluteString();
  constexpr int seeOther = 303;
  constexpr int permanent = 308;
  auto decision = platform::detail::decideRedirect(request, becomesGet ? seeOther : permanent, target, 0);
  auto* const next = std::get_if<URLRequest>(&decision);
  if (next) request = std::move(*next);
  return next;
}

}  // namespace

/// The challenge of each origin that is in force. Thread-safe.
class DigestAuthentication::Sessions {
 public:
  Sessions(DigestUser user, std::vector<URL> origins)
      : scope_(std::move(origins)), user_(std::move(user)), sessions_(scope_.count()) {}

  const detail::CredentialScope& scope() const { return scope_; }

  /// Adds the response to the challenge in force. False, and the request unchanged, without a challenge, and where it
  /// needs the hash of a body that can be read once.
  bool authorize(URLRequest& request, const std::optional<URL>& bodyFile);
  /// Takes over the challenge of a response that refuses the request. Whether the response to it may succeed: the
  /// password is wrong where the refused request responded to a fresh challenge, and that was not stale.
  bool accept(const HTTPInterceptedResponse& response, const URL& url, bool wasFresh);
  /// The server may want another nonce.
  void note(const HTTPInterceptedResponse& response, const URL& url);

 private:
  std::optional<DigestChallenge> challengeFor(const URL& url) const;

  const detail::CredentialScope scope_;
  const DigestUser user_;
  mutable platform::detail::Mutex mutex_;
  /// One for each origin.
  std::vector<std::optional<DigestSession>> sessions_ CORVANE_GUARDED_BY(mutex_);
};

std::optional<DigestChallenge> DigestAuthentication::Sessions::challengeFor(const URL& url) const {
  const MutexLock lock(mutex_);
  const auto& session = sessions_[*scope_.placeOf(url)];
  return session ? std::optional(session->challenge()) : std::nullopt;
}

bool DigestAuthentication::Sessions::authorize(URLRequest& request, const std::optional<URL>& bodyFile) {
  const auto challenge = challengeFor(request.url);
  platform::detail::RequestTarget target;
  if (!challenge || !target.set(request.url)) return false;
  DigestSubject subject{.method = request.httpMethod, .target = target.target()};
  if (challenge->protection == DigestChallenge::Protection::authInt) {
    auto hash = detail::hashOfBody(request, bodyFile, challenge->function);
    if (!hash) return false;
    subject.bodyHash = *std::move(hash);
  }
  const MutexLock lock(mutex_);
  auto& session = *sessions_[*scope_.placeOf(request.url)];
  // Another challenge may have come meanwhile. What does not suit it is refused, and asked for again.
  request.allHTTPHeaderFields.set("Authorization", session.authorization(subject));
  return true;
}

bool DigestAuthentication::Sessions::accept(const HTTPInterceptedResponse& response, const URL& url, bool wasFresh) {
  auto challenge = DigestChallenge::strongest(response.httpResponse()->allHeaderFields().values("WWW-Authenticate"));
  if (!challenge || (wasFresh && !challenge->isStale)) return false;
  const MutexLock lock(mutex_);
  auto& session = sessions_[*scope_.placeOf(url)];
  // A nonce that the server gives more than once goes on to be counted.
  const bool isKnown = session && challenge->hasNonceOf(session->challenge());
  if (!isKnown) session.emplace(user_, *std::move(challenge), platform::UUID().uuidString());
  return true;
}

void DigestAuthentication::Sessions::note(const HTTPInterceptedResponse& response, const URL& url) {
  const auto field = response.value("Authentication-Info");
  if (!field || !response.url() || scope_.placeOf(*response.url()) != scope_.placeOf(url)) return;
  const auto information = AuthenticationChallenge::ofParameters(*field);
  const std::string* const next = information.parameter("nextnonce");
  if (!next || next->empty()) return;
  const MutexLock lock(mutex_);
  if (auto& session = sessions_[*scope_.placeOf(url)]) session->useNonce(*next);
}

DigestAuthentication::DigestAuthentication(std::string_view user, std::string_view password, std::vector<URL> origins)
    : sessions_(std::make_shared<Sessions>(DigestUser{.name = std::string(user), .password = std::string(password)},
                                           std::move(origins))) {
  detail::requireNoControls(user, "user name");
  detail::requireNoControls(password, "password");
}

DigestAuthentication::~DigestAuthentication() = default;

Future<HTTPInterceptedResponse> DigestAuthentication::intercept(URLRequest request, HTTPInterceptorChain chain) {
  const auto sessions = sessions_;
  if (!sessions->scope().covers(request)) co_return co_await chain.send(std::move(request));
  URLRequest attempt = request;
  const bool isKnown = sessions->authorize(attempt, chain.bodyFile());
  if (!isKnown) expectRefusal(attempt);
  bool isFresh = false;
  for (int sends = 1;; ++sends) {
    auto response = co_await chain.send(attempt);
    if (followsRedirect(request, response, chain.bodyFile().has_value())) {
      isFresh = false;
    } else if (!detail::isRefusal(response, request)) {
      sessions->note(response, request.url);
      co_return response;
    }
    // Also where this request cannot be sent again: the next one knows what is asked for.
    const bool isAccepted = sessions->accept(response, request.url, isFresh);
    const bool mayTryAgain = isAccepted && sends < mostSendsWithDigest && detail::canBeSentAgain(request);
    attempt = request;
    if (!mayTryAgain || !sessions->authorize(attempt, chain.bodyFile())) co_return response;
    isFresh = true;
  }
}

}  // namespace corvane
