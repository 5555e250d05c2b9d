#include "Corvane/Transport/HTTPInterceptedResponse.hpp"

#include <utility>

namespace corvane {

using platform::HTTPURLResponse;

HTTPInterceptedResponse::HTTPInterceptedResponse(platform::URL url, int statusCode,
                                                 platform::HTTPHeaderFields headerFields, platform::Data body)
    : response(
          std::make_shared<const HTTPURLResponse>(std::move(url), statusCode, "HTTP/1.1", std::move(headerFields))),
      data(std::move(body)) {}

HTTPInterceptedResponse::HTTPInterceptedResponse(platform::Error failure) : error(std::move(failure)) {}

int HTTPInterceptedResponse::statusCode() const {
  const auto* const http = httpResponse();
  return http ? http->statusCode() : 0;
}

std::optional<std::string> HTTPInterceptedResponse::value(std::string_view headerField) const {
  const auto* const http = httpResponse();
  return http ? http->value(headerField) : std::nullopt;
}

const HTTPURLResponse* HTTPInterceptedResponse::httpResponse() const {
  return dynamic_cast<const HTTPURLResponse*>(response.get());
}

std::optional<platform::URL> HTTPInterceptedResponse::url() const {
  return response ? std::optional(response->url()) : std::nullopt;
}

}  // namespace corvane
