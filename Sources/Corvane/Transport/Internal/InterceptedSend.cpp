#include "Corvane/Transport/Internal/InterceptedSend.hpp"

#include <utility>

#include "Corvane/Transport/Internal/InterceptedParts.hpp"
#include "Corvane/Transport/Internal/Interception.hpp"

namespace corvane::detail {

void InterceptedSend::receive(HTTPInterceptedResponse response) {
  const auto outcome = std::exchange(outcome_, std::nullopt);
  if (!outcome) return;
  InterceptedParts::note(response, sent_);
  whole_->received(InterceptedParts::body(response));
  outcome->markCompletion(std::move(response));
}

}  // namespace corvane::detail
