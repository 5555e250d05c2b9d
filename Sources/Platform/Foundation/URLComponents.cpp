#include "Platform/Foundation/URLComponents.hpp"

#include <algorithm>

#include "Platform/Foundation/Internal/IRI.hpp"
#include "Platform/Foundation/Internal/PercentEncoding.hpp"
#include "Platform/Foundation/Internal/URLLayout.hpp"

namespace platform {

namespace {

using detail::CharacterSet;
using detail::percentDecoded;
using detail::percentEncoded;
using detail::URLLayout;

URLQueryItem parseItem(std::string_view text) {
  const std::size_t equals = text.find('=');
  URLQueryItem item{percentDecoded(text.substr(0, equals)), std::nullopt};
  if (equals != std::string_view::npos) item.value = percentDecoded(text.substr(equals + 1));
  return item;
}

/// The path as it may be written: a colon in the first segment of a relative path without a scheme would
/// end a scheme (RFC 3986, 4.2).
std::string writablePath(const std::string& path, bool isAfterSchemeOrAuthority) {
  if (isAfterSchemeOrAuthority) return path;
  std::string result;
  const std::size_t firstSegment = std::min(path.find('/'), path.size());
  for (const char character : std::string_view(path).substr(0, firstSegment)) {
    if (character == ':') {
      result += "%3A";
    } else {
      result += character;
    }
  }
  return result.append(path, firstSegment);
}

}  // namespace

std::optional<URLComponents> URLComponents::make(const URL& url, bool resolvingAgainstBaseURL) {
  return make(resolvingAgainstBaseURL ? url.absoluteString() : url.relativeString());
}

std::optional<URLComponents> URLComponents::make(std::string_view text) {
  if (!detail::isASCII(text)) {
    const auto converted = detail::uriOfIRI(text);
    return converted.problem.empty() ? make(converted.uri) : std::nullopt;
  }
  const auto layout = URLLayout::parse(text);
  if (!layout) return std::nullopt;
  URLComponents components;
  components.scheme = layout->scheme.copy(text);
  components.percentEncodedUser = layout->user.copy(text);
  components.percentEncodedPassword = layout->password.copy(text);
  components.percentEncodedHost = layout->host.copy(text);
  components.port = layout->portNumber;
  components.percentEncodedPath = layout->path.of(text);
  components.percentEncodedQuery = layout->query.copy(text);
  components.percentEncodedFragment = layout->fragment.copy(text);
  return components;
}

std::string URLComponents::path() const { return percentDecoded(percentEncodedPath); }

void URLComponents::setPath(std::string_view path) { percentEncodedPath = percentEncoded(path, CharacterSet::path); }

std::optional<std::string> URLComponents::query() const {
  if (!percentEncodedQuery) return std::nullopt;
  return percentDecoded(*percentEncodedQuery);
}

void URLComponents::setQuery(std::optional<std::string_view> query) {
  percentEncodedQuery.reset();
  if (query) percentEncodedQuery = percentEncoded(*query, CharacterSet::queryOrFragment);
}

std::vector<URLQueryItem> URLComponents::queryItems() const {
  std::vector<URLQueryItem> items;
  if (!percentEncodedQuery || percentEncodedQuery->empty()) return items;
  std::string_view rest = *percentEncodedQuery;
  while (true) {
    const std::size_t ampersand = rest.find('&');
    items.push_back(parseItem(rest.substr(0, ampersand)));
    if (ampersand == std::string_view::npos) return items;
    rest.remove_prefix(ampersand + 1);
  }
}

void URLComponents::setQueryItems(const std::vector<URLQueryItem>& items, URLQueryEncoding encoding) {
  const CharacterSet kept = encoding == URLQueryEncoding::strict ? CharacterSet::unreserved : CharacterSet::queryItem;
  std::string query;
  for (const URLQueryItem& item : items) {
    if (&item != &items.front()) query += '&';
    query += percentEncoded(item.name, kept);
    if (item.value) query.append("=").append(percentEncoded(*item.value, kept));
  }
  percentEncodedQuery = std::move(query);
}

std::string URLComponents::string() const {
  std::string text;
  if (scheme) text.append(*scheme).append(":");
  if (percentEncodedHost) {
    text += "//";
    if (percentEncodedUser) text += *percentEncodedUser;
    if (percentEncodedPassword) text.append(":").append(*percentEncodedPassword);
    if (percentEncodedUser || percentEncodedPassword) text += '@';
    text += *percentEncodedHost;
    if (port) text.append(":").append(std::to_string(*port));
  }
  text += writablePath(percentEncodedPath, scheme || percentEncodedHost);
  if (percentEncodedQuery) text.append("?").append(*percentEncodedQuery);
  if (percentEncodedFragment) text.append("#").append(*percentEncodedFragment);
  return text;
}

std::optional<URL> URLComponents::url() const {
  const std::string text = string();
  auto readBack = make(text);
  if (!readBack) return std::nullopt;
  // A component with a character that ends it would be read as two; such parts make no URL.
  URLComponents wanted = *this;
  wanted.percentEncodedPath = writablePath(percentEncodedPath, scheme || percentEncodedHost);
  if (wanted.percentEncodedPassword && !wanted.percentEncodedUser) wanted.percentEncodedUser = "";
  if (*readBack != wanted) return std::nullopt;
  return URL::parse(text);
}

}  // namespace platform
