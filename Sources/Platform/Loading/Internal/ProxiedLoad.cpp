#include "Platform/Loading/Internal/ProxiedLoad.hpp"

#include "Platform/Loading/Internal/HTTPLoad.hpp"
#include "Platform/Loading/Internal/HTTPLoader.hpp"
#include "Platform/Networking/Authentication/ProxyDigest.hpp"
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

void HTTPLoad::authorizeAtProxy() {
  if (!isForwarded()) return;
  ProxyDigest* const digest = proxy().digest.get();
  if (digest) {
    proxied_->authorization = digest->authorization(head_.method, head_.target, bodyInMemory());
  } else {
    proxied_->authorization = proxy().authorization;
  }
  if (!proxied_->authorization.empty()) {
    addField("Proxy-Authorization", proxied_->authorization);
  } else if (digest && producedBody_ && !producedBody_->isRepeatable() &&
             !request_->allHTTPHeaderFields.contains("Expect")) {
    // Lets the proxy ask before it takes a body that there is but once (RFC 9110, 10.1.1).
    addField("Expect", "100-continue");
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
  unsigned& challenges = owner_->proxyChallenges;
  if (head.statusCode != proxyAuthenticationRequired) {
    proxy().digest->note(head.fields);
  } else if (!producedBody_ || producedBody_->canRewind()) {
    proxied_->isChallenged =
        proxy().digest->accept(head.fields, challenges, bodyInMemory().has_value()) == ProxyDigest::Verdict::again;
  }
  if (proxied_->isChallenged) statusCode_ = head.statusCode;
  challenges = proxied_->isChallenged ? challenges + 1 : 0;
  return proxied_->isChallenged;
}

/// Once the response with the challenge has ended.
bool HTTPLoad::canRespondToProxy() {
  return proxied_ && proxied_->isChallenged && (!producedBody_ || producedBody_->rewind());
}

}  // namespace platform::detail
