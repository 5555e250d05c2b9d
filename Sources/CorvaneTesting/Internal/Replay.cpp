#include "CorvaneTesting/Internal/Replay.hpp"

#include <cstddef>
#include <string>
#include <utility>

#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::testkit::detail {

using platform::Error;

namespace {

/// With the URL that fails now, which may have been redacted.
Error replayed(const Error& error, const SentRequest& request) {
  platform::Dictionary userInfo = error.userInfo();
  if (userInfo.contains(platform::URLErrorKey::requestWasSent))
    userInfo.set(platform::URLErrorKey::failingURL, request.url.absoluteString());
  return {error.domain(), error.code(), error.message(), std::move(userInfo)};
}

NetworkResponse replayed(const ExchangeRecord& exchange, const SentRequest& request) {
  if (exchange.error) return NetworkResponse::error(replayed(*exchange.error, request));
  NetworkResponse response(exchange.status);
  for (const auto& [name, value] : exchange.responseHeaders) {
    // Its value is not known: a cookie with that value would be a wrong one.
    if (value != HTTPRedaction::mark) response.header(name, value);
  }
  return response.body(exchange.responseBody);
}

}  // namespace

bool Replay::isFor(const SentRequest& request, const ExchangeRecord& exchange) const {
  const HTTPRedaction& redaction = recording_.redaction;
  // That of a recording that was made by hand is not redacted.
  return request.method == exchange.method &&
         redaction.redactedURL(request.url.absoluteString()) == redaction.redactedURL(exchange.url) &&
         (!options_.comparesBodies || request.body == exchange.requestBody);
}

std::optional<std::size_t> Replay::find(const SentRequest& request) const {
  for (std::size_t place = 0; place < recording_.exchanges.size(); ++place) {
    if (!isUsed_[place] && isFor(request, recording_.exchanges[place])) return place;
  }
  return std::nullopt;
}

std::optional<RouteResponse> Replay::take(const SentRequest& request) {
  const auto place = find(request);
  if (!place) return std::nullopt;
  isUsed_[*place] = true;
  return replayed(recording_.exchanges[*place], request);
}

}  // namespace corvane::testkit::detail
