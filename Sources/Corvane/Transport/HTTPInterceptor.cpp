#include "Corvane/Transport/HTTPInterceptor.hpp"

#include "Corvane/Transport/Internal/Interception.hpp"

namespace corvane {

using platform::URLRequest;
using velisand::Future;

HTTPInterceptor::~HTTPInterceptor() = default;

Future<HTTPInterceptedResponse> HTTPInterceptorChain::send(URLRequest request) const {
  return position_->run->send(std::move(request), *position_);
}

HTTPExchangeKind HTTPInterceptorChain::kind() const { return position_->run->kind(); }

const std::optional<platform::URL>& HTTPInterceptorChain::bodyFile() const { return position_->run->bodyFile(); }

SendOptions HTTPInterceptorChain::options() const { return position_->run->options(); }

const std::optional<platform::DispatchQueue>& HTTPInterceptorChain::sender() const { return position_->run->sender(); }

}  // namespace corvane
