#include "CorvaneTesting/SentRequest.hpp"

#include "Platform/Foundation/URLComponents.hpp"

namespace corvane::testkit {

std::optional<std::string> SentRequest::queryValue(std::string_view name) const {
  const auto components = platform::URLComponents::make(url, true);
  if (!components) return std::nullopt;
  for (const platform::URLQueryItem& item : components->queryItems()) {
    if (item.name == name) return item.value.value_or("");
  }
  return std::nullopt;
}

std::string SentRequest::description() const { return method + " " + url.absoluteString(); }

}  // namespace corvane::testkit
