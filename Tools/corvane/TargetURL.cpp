#include "TargetURL.hpp"

#include <Corvane/DebugOutput/HTTPRedaction.hpp>
#include <Platform/Foundation/Detail/ASCII.hpp>
#include <Platform/Foundation/URLComponents.hpp>
#include <algorithm>
#include <optional>

#include "UsageError.hpp"

using namespace corvane;

namespace {

/// Without secrets.
std::string shown(const std::string& text) { return "'" + HTTPRedaction::secrets().redactedURL(text) + "'"; }

URL parsedURL(const std::string& text) {
  const auto url = URL::parse(text);
  if (!url) throw UsageError(HTTPRedaction::secrets().redactedText(URL::problem(text)));
  std::string scheme = url->scheme().value_or("");
  std::ranges::transform(scheme, scheme.begin(), platform::detail::asciiLower);
  if (scheme != "http" && scheme != "https")
    throw UsageError(shown(text) + " is no URL to send to: it must start with http:// or https://");
  if (!url->host()) throw UsageError(shown(text) + " is no URL to send to: it names no host");
  return *url;
}

platform::URLQueryItem queryItem(const std::string& text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos) return {text, std::nullopt};
  if (sign == 0) throw UsageError("'" + text + "' is no query item: write NAME=VALUE");
  return {text.substr(0, sign), text.substr(sign + 1)};
}

// The URL's own query stays as it was written.
URL withQueryItems(const URL& url, const std::vector<std::string>& texts) {
  if (texts.empty()) return url;
  std::vector<platform::URLQueryItem> items;
  for (const std::string& text : texts) items.push_back(queryItem(text));
  platform::URLComponents added;
  added.setQueryItems(items, platform::URLQueryEncoding::strict);
  auto components = platform::URLComponents::make(url, true);
  if (!components) throw UsageError(shown(url.absoluteString()) + " cannot take a query");
  const std::string present = components->percentEncodedQuery.value_or("");
  components->percentEncodedQuery = (present.empty() ? "" : present + "&") + *added.percentEncodedQuery;
  const auto result = components->url();
  if (!result) throw UsageError(shown(url.absoluteString()) + " cannot take the query items");
  return *result;
}

}  // namespace

URL targetURL(const std::string& text, const std::vector<std::string>& queryItems) {
  return withQueryItems(parsedURL(text), queryItems);
}
