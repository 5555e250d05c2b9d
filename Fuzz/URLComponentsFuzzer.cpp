#include "Platform/Foundation/URLComponents.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzInput.hpp"

namespace platform::fuzz {

namespace {

/// "name=value", "name=" or "name", each after an "&".
std::vector<URLQueryItem> itemsOf(std::string_view text) {
  std::vector<URLQueryItem> items;
  while (!text.empty()) {
    const std::string_view item = text.substr(0, text.find('&'));
    text.remove_prefix(item.size() + (item.size() < text.size() ? 1 : 0));
    const std::size_t equals = item.find('=');
    items.push_back({std::string(item.substr(0, equals)), std::nullopt});
    if (equals != item.npos) items.back().value = std::string(item.substr(equals + 1));
  }
  return items;
}

/// Plain values: whatever they hold, they come back as they were and move nothing else.
void checkPlainValues(std::string_view path, std::string_view itemText) {
  const std::vector<URLQueryItem> items = itemsOf(itemText);
  URLComponents parts;
  parts.scheme = "https";
  parts.percentEncodedHost = "example.com";
  parts.port = 8443;
  parts.setPath("/" + std::string(path));
  parts.setQueryItems(items);
  const auto url = parts.url();
  require(url.has_value(), "encoded parts make no URL");
  require(url->host() == "example.com" && url->port() == 8443, "a path or a query changes the host");
  require(url->path() == "/" + std::string(path), "a path does not come back");
  require(!url->fragment(), "a path or a query makes a fragment");
  const auto readBack = URLComponents::make(*url, true);
  require(readBack == parts, "the parts of a URL do not come back");
  const bool isNothing = items.size() == 1 && items[0].name.empty() && !items[0].value;
  require(isNothing || readBack->queryItems() == items, "query items do not come back");

  parts.setQuery(itemText);
  require(parts.query() == itemText, "a query does not come back");
  require(parts.url().has_value(), "an encoded query makes no URL");
}

/// Encoded values, as a program may set them to anything: they make a URL of exactly these parts, or none.
void checkEncodedValues(std::string_view text) {
  URLComponents parts;
  parts.scheme = "http";
  parts.percentEncodedUser = std::string(takeLine(text));
  parts.percentEncodedHost = std::string(takeLine(text));
  parts.percentEncodedPath = takeLine(text);
  parts.percentEncodedQuery = std::string(takeLine(text));
  parts.percentEncodedFragment = std::string(takeLine(text));
  const auto url = parts.url();
  if (!url) return;
  require(URLComponents::make(*url, true) == parts, "encoded parts make a URL of other parts");
}

void check(std::string_view input) {
  checkEncodedValues(input);
  const std::string_view path = takeLine(input);
  checkPlainValues(path, input);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
