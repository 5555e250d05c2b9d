#include "Corvane/DebugOutput/HTTPRedaction.hpp"

#include <algorithm>
#include <cstddef>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace corvane {

using platform::HTTPHeaderFields;
using platform::detail::equalsIgnoringCase;

namespace {

bool isOneOf(std::string_view name, const std::vector<std::string>& names) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& each) { return equalsIgnoringCase(name, each); });
}

bool holdsURL(std::string_view fieldName) {
  return equalsIgnoringCase(fieldName, "Location") || equalsIgnoringCase(fieldName, "Content-Location") ||
         equalsIgnoringCase(fieldName, "Referer");
}

int hexadecimalDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// As servers read a name.
std::string decodedName(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? hexadecimalDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? hexadecimalDigit(text[i + 2]) : -1;
    if (low < 0) {
      result += text[i];
    } else {
      result += static_cast<char>(high * 16 + low);
      i += 2;
    }
  }
  return result;
}

constexpr std::string_view endsOfText = " \t\r\n\"<>";

/// Wherever a name and its value stand, in a query, a fragment, a route in a fragment or a sentence. The name begins
/// after "?", "&", ";", "#", "/" or what ends a text; the value ends before the next item.
std::string redactedItems(std::string_view text, const std::vector<std::string>& names) {
  const std::string starts = "?&;#/(" + std::string(endsOfText);
  const std::string ends = "&;#" + std::string(endsOfText);
  std::string result;
  while (true) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) return result.append(text);
    const std::string_view front = text.substr(0, equals);
    const std::size_t start = front.find_last_of(starts);
    const std::string_view name = start == std::string_view::npos ? front : front.substr(start + 1);
    result.append(front).append("=");
    text.remove_prefix(equals + 1);
    if (!isOneOf(decodedName(name), names)) continue;
    result += HTTPRedaction::mark;
    text.remove_prefix(std::min(text.find_first_of(ends), text.size()));
  }
}

/// What comes before the query, with scheme and authority.
std::string redactedCredentials(std::string_view text) {
  const std::size_t slashes = text.find("//");
  if (slashes == std::string_view::npos) return std::string(text);
  const std::size_t authority = slashes + 2;
  const std::size_t end = std::min(text.find('/', authority), text.size());
  const std::size_t at = text.substr(authority, end - authority).rfind('@');
  if (at == std::string_view::npos) return std::string(text);
  return std::string(text.substr(0, authority)) + HTTPRedaction::mark + std::string(text.substr(authority + at));
}

}  // namespace

HTTPRedaction HTTPRedaction::secrets() {
  return {.headerFields = {"Authorization", "Proxy-Authorization", "Cookie", "Set-Cookie", "X-API-Key"},
          .queryItems = {"access_token", "refresh_token", "id_token", "token", "code", "key", "api_key", "apikey",
                         "client_secret", "password", "signature", "sig", "X-Amz-Signature", "X-Amz-Security-Token"},
          .hidesURLCredentials = true};
}

HTTPHeaderFields HTTPRedaction::redacted(const HTTPHeaderFields& fields) const {
  HTTPHeaderFields result;
  for (const auto& [name, value] : fields) result.add(name, redactedValue(name, value));
  return result;
}

std::string HTTPRedaction::redactedValue(std::string_view fieldName, std::string_view value) const {
  if (isOneOf(fieldName, headerFields)) return mark;
  return holdsURL(fieldName) ? redactedURL(value) : std::string(value);
}

std::string HTTPRedaction::redactedText(std::string_view text) const {
  constexpr std::string_view afterScheme = "://";
  std::string result;
  while (true) {
    const std::size_t start = text.find(afterScheme);
    if (start == std::string_view::npos || !hidesURLCredentials) return redactedItems(result.append(text), queryItems);
    // The scheme changes nothing; where a URL ends in a sentence is a guess that takes rather too much.
    const std::size_t end = std::min(text.find_first_of(endsOfText, start), text.size());
    const std::string_view url = text.substr(start, end - start);
    const std::size_t queryOrFragment = std::min(url.find_first_of("?#"), url.size());
    result.append(text.substr(0, start)).append(redactedCredentials(url.substr(0, queryOrFragment)));
    text.remove_prefix(start + queryOrFragment);
  }
}

std::string HTTPRedaction::redactedURL(std::string_view url) const {
  const std::size_t queryOrFragment = std::min(url.find_first_of("?#"), url.size());
  const std::string_view front = url.substr(0, queryOrFragment);
  std::string result = hidesURLCredentials ? redactedCredentials(front) : std::string(front);
  return result.append(redactedItems(url.substr(queryOrFragment), queryItems));
}

}  // namespace corvane
