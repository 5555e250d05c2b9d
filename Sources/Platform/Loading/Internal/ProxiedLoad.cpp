#include "Platform/Loading/Internal/ProxiedLoad.hpp"

#include <cstddef>
#include <new>

#include "Platform/Loading/Internal/HTTPLoad.hpp"
#include "Platform/Loading/Internal/HTTPLoader.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

using networking::Bytes;
using networking::Proxy;
using networking::ProxyDigest;

const Proxy& HTTPLoad::proxy() const { return loader_.pool().options().proxy; }

/// A request that a proxy forwards names the whole URL (RFC 9112, 3.2.2), without its user and its fragment.
void HTTPLoad::chooseRoute() {
  proxied_.reset();
  if (proxy().kind == Proxy::Kind::none) return;
  proxied_ = std::make_unique<ProxiedLoad>();
  proxied_->route = loader_.pool().options().routeTo(target_.route().origin);
  if (!isForwarded()) return;
  proxied_->target.assign("http://").append(target_.authority()).append(target_.target());
  head_.target = proxied_->target;
}

/// Basic is known beforehand.
void HTTPLoad::authorizeAtProxy() {
  if (isForwarded() && !proxy().authorization.empty()) addField("Proxy-Authorization", proxy().authorization);
}

/// Only now is it known which nonce is in force. Without memory the proxy is told nothing, and asks.
void HTTPLoad::requestGoesOut() noexcept {
  if (!isForwarded() || !proxy().digest) return;
  if (!proxied_->otherFields) proxied_->otherFields = fields_.size();
  fields_.erase(fields_.begin() + static_cast<std::ptrdiff_t>(*proxied_->otherFields), fields_.end());
  try {
    authorizeByDigest();
  } catch (const std::bad_alloc&) {
    proxied_->authorization.nonce.reset();
  }
  head_.fields = fields_;
}

void HTTPLoad::authorizeByDigest() {
  proxied_->authorization = proxy().digest->authorize(head_.method, head_.target, bodyInMemory());
  proxied_->expects = false;
  if (!proxied_->authorization.value.empty()) {
    addField("Proxy-Authorization", proxied_->authorization.value);
  } else if (body_ && body_ == producedBody_ && !producedBody_->isRepeatable() && !owner_->expectationRefused &&
             !request_->exchangeSources && !request_->allHTTPHeaderFields.contains("Expect")) {
    // Lets the proxy ask before it takes a body that there is but once (RFC 9110, 10.1.1).
    addField("Expect", "100-continue");
    proxied_->expects = true;
  }
}

/// What is meant for the proxy goes to nobody else, and what is configured for it comes first.
bool HTTPLoad::mayTellPeer(std::string_view name) const {
  if (name.size() != 19 || !equalsIgnoringCase(name, "Proxy-Authorization")) return true;
  return isForwarded() && proxy().authorization.empty() && !proxy().digest;
}

/// Absent for one that is elsewhere.
std::optional<Bytes> HTTPLoad::bodyInMemory() const {
  if (!body_) return Bytes();
  if (body_ != &memoryBody_) return std::nullopt;
  return request_->httpBody->span();
}

/// A forwarding proxy that asks for a digest gets the same request once more, with it.
bool HTTPLoad::respondsToProxy(const networking::ResponseHeadView& head) {
  if (!isForwarded() || !proxy().digest || request_->exchangeSources) return false;
  constexpr int proxyAuthenticationRequired = 407;
  constexpr int expectationFailed = 417;
  using Cause = TransactionMetrics::Cause;
  std::optional<Cause> cause;
  const std::optional<std::string>& nonce = proxied_->authorization.nonce;
  if (head.statusCode == proxyAuthenticationRequired) {
    const ProxyDigest::Attempt attempt{
        .nonce = nonce, .challenges = owner_->proxyChallenges, .hasBodyInMemory = bodyInMemory().has_value()};
    // Also where this request cannot be sent again: the next one knows what is asked for.
    if (proxy().digest->accept(head.fields, attempt) == ProxyDigest::Verdict::again) cause = Cause::proxyChallenge;
  } else {
    proxy().digest->note(head.fields, nonce);
  }
  if (head.statusCode == expectationFailed) {
    owner_->expectationRefused = true;
    if (proxied_->expects) cause = Cause::expectationRefused;
  }
  if (producedBody_ && !producedBody_->canRewind()) cause.reset();
  owner_->proxyChallenges = cause == Cause::proxyChallenge ? owner_->proxyChallenges + 1 : 0;
  proxied_->repeats = cause;
  if (cause) statusCode_ = head.statusCode;
  return cause.has_value();
}

/// Once the response has ended. One that stops to come has used up the time of the request.
bool HTTPLoad::isWantedByProxy(const std::optional<networking::ExchangeProblem>& problem) const {
  const bool isInTime = !problem || problem->kind == networking::ExchangeProblem::Kind::network;
  return proxied_ && proxied_->repeats && isInTime;
}

bool HTTPLoad::canRespondToProxy(const std::optional<networking::ExchangeProblem>& problem) {
  return isWantedByProxy(problem) && (!producedBody_ || producedBody_->rewind());
}

}  // namespace platform::detail
