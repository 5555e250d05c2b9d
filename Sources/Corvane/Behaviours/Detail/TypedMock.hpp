#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Behaviours/Detail/MockDelivery.hpp"
#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/MixinRequirements.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Request/Detail/TypedExchange.hpp"

/// The rules of a mock, for what it says and what it says for tests: `Names` is `MockNames` or `TestNames`.
namespace corvane::detail {

template <class Names, class Request>
constexpr bool checkMock() {
  return check<Request>(Names::url, Names::headers, Names::status, Names::responseTime, Names::expectedContentLength,
                        Names::suggestedFilename, Names::mimeType, Names::textEncodingName, Names::error,
                        Names::responseData);
}

template <class Names, class Request>
std::shared_ptr<const platform::HTTPURLResponse> mockedResponse(const Request& request) {
  return platformResponse({.url = Names::url(request),
                           .headers = Names::headers(request),
                           .status = Names::status(request),
                           .expectedContentLength = Names::expectedContentLength(request),
                           .suggestedFilename = Names::suggestedFilename(request),
                           .mimeType = Names::mimeType(request),
                           .textEncodingName = Names::textEncodingName(request)});
}

template <class Names, class Request>
std::optional<platform::Error> mockedError(const Request& request) {
  const HTTPStatus status = Names::status(request);
  return computedError(Names::error(request), status, request.isAcceptable(status));
}

/// The exchange has a request of its own, which is asked when the response is due, not before.
template <class Names, class Request, class Exchange>
void respondToExchange(const std::shared_ptr<Exchange>& exchange) {
  if constexpr (isValidRequest<Request> && checkMock<requirement::MockNames, Request>() &&
                checkMock<Names, Request>()) {
    const Request* const sent = &exchange->request();
    respondFromMock(
        exchange, Downloads<Request> ? MockBody::file : MockBody::bytes,
        [sent] { return platform::Seconds(Names::responseTime(*sent)).count(); },
        [sent]() -> TaskOutcome {
          return {.data = Names::responseData(*sent),
                  .url = Names::url(*sent),
                  .response = Names::urlResponse(*sent),
                  .error = Names::computedError(*sent)};
        });
  }
}

template <class Names, class Request>
void respondFromMock(const Request& request, std::optional<platform::DispatchQueue> queue,
                     CompletionOf<Request> completion) {
  const auto exchange = TypedExchange<Request>::make(request, std::move(queue), std::move(completion));
  if (exchange) respondToExchange<Names, Request>(exchange);
}

}  // namespace corvane::detail
