#include "Platform/Loading/Internal/RedirectLocation.hpp"

#include <algorithm>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// unreserved, sub-delims, ":", "@" and "/" (RFC 3986, 2.2 and 2.3): what may stand in any component.
bool isPlain(char c) {
  return isLetterOrDigit(c) || std::string_view("-._~!$&'()*+,;=:@/").find(c) != std::string_view::npos;
}

void appendEncoded(std::string& text, char c) {
  constexpr char hex[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  text.append(1, '%').append(1, hex[byte >> 4]).append(1, hex[byte & 15]);
}

bool isBracket(char c) { return c == '[' || c == ']'; }
bool isQuestionMark(char c) { return c == '?'; }
bool isNothingElse(char) { return false; }

/// Encodes what is neither plain nor allowed here; an escape stays as it is.
template <class IsAllowed>
std::string encoded(std::string_view component, IsAllowed isAllowed) {
  std::string result;
  for (std::size_t i = 0; i < component.size(); ++i) {
    const char c = component[i];
    const bool isEscape = c == '%' && i + 2 < component.size() && hexadecimalValue(component[i + 1]) >= 0 &&
                          hexadecimalValue(component[i + 2]) >= 0;
    if (isEscape || isPlain(c) || isAllowed(c)) {
      result.push_back(c);
    } else {
      appendEncoded(result, c);
    }
  }
  return result;
}

/// Scheme and authority. What a host holds outside of ASCII stays: percent-encoded, it would be another name.
std::string encodedAuthority(std::string_view authority) {
  const std::size_t host = authority.rfind('@') + 1;
  return encoded(authority.substr(0, host), isBracket) +
         encoded(authority.substr(host), [](char c) { return isBracket(c) || static_cast<unsigned char>(c) >= 0x80; });
}

/// Where the authority ends, 0 when there is none: after "//" at the start or after a scheme.
std::size_t endOfAuthority(std::string_view hierarchy) {
  const std::size_t slashes = hierarchy.find("//");
  if (slashes == hierarchy.npos || (slashes > 0 && hierarchy.find_first_of(":/") != slashes - 1)) return 0;
  return std::min(hierarchy.find('/', slashes + 2), hierarchy.size());
}

std::string_view fragmentOf(std::string_view url) {
  const std::size_t hash = url.find('#');
  return hash == url.npos ? std::string_view() : url.substr(hash);
}

}  // namespace

std::string locationAsReference(std::string_view location) {
  location = trimmed(location);
  const std::size_t hash = std::min(location.find('#'), location.size());
  const std::size_t question = std::min(location.substr(0, hash).find('?'), hash);
  std::string hierarchy(location.substr(0, question));
  std::replace(hierarchy.begin(), hierarchy.end(), '\\', '/');
  const std::string_view parts = hierarchy;
  const std::size_t authority = endOfAuthority(parts);
  std::string result = encodedAuthority(parts.substr(0, authority)) + encoded(parts.substr(authority), isNothingElse);
  if (question < hash)
    result.append("?").append(encoded(location.substr(question + 1, hash - question - 1), isQuestionMark));
  if (hash < location.size()) result.append("#").append(encoded(location.substr(hash + 1), isQuestionMark));
  return result;
}

std::optional<URL> resolvedLocation(std::string_view location, const URL& base) {
  const auto resolved = URL::parse(locationAsReference(location), base.absoluteURL());
  if (!resolved) return std::nullopt;
  std::string text = resolved->absoluteString();
  if (fragmentOf(text).empty()) text.append(fragmentOf(base.absoluteString()));
  return URL::parse(text);
}

}  // namespace platform::detail
