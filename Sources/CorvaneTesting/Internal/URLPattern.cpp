#include "CorvaneTesting/Internal/URLPattern.hpp"

#include <algorithm>
#include <cstddef>

#include "Platform/Foundation/URLComponents.hpp"

namespace corvane::testkit::detail {

namespace {

/// The URL as patterns spell it: without user, password and fragment, and with a path.
std::string comparable(const platform::URL& url, bool hasQuery, bool isPathOnly) {
  auto parts = platform::URLComponents::make(url, true);
  if (!parts) return url.absoluteString();
  parts->percentEncodedUser.reset();
  parts->percentEncodedPassword.reset();
  parts->percentEncodedFragment.reset();
  if (!hasQuery) parts->percentEncodedQuery.reset();
  if (parts->percentEncodedPath.empty()) parts->percentEncodedPath = "/";
  if (isPathOnly) {
    parts->scheme.reset();
    parts->percentEncodedHost.reset();
    parts->port.reset();
  }
  return parts->string();
}

/// "https://users.example.com" is "https://users.example.com/".
std::string withPath(std::string url) {
  const std::size_t authority = url.find("://");
  if (authority == std::string::npos) return url;
  const std::size_t end = url.find_first_of("/?", authority + 3);
  // A "*" at the end takes the path, too.
  if (end == std::string::npos) return url.ends_with('*') ? url : url + "/";
  if (url[end] == '?') url.insert(end, "/");
  return url;
}

}  // namespace

URLPattern::URLPattern(std::string_view text) {
  if (const std::size_t space = text.find(' '); space != std::string_view::npos) {
    method_ = text.substr(0, space);
    text.remove_prefix(std::min(text.find_first_not_of(' ', space), text.size()));
    if (text.empty()) text = "*";
  }
  url_ = withPath(std::string(text));
}

bool URLPattern::matches(const SentRequest& request) const {
  if (!method_.empty() && method_ != request.method) return false;
  const bool hasQuery = url_.find('?') != std::string::npos;
  return fitsPattern(url_, comparable(request.url, hasQuery, url_.starts_with('/')));
}

/// The last "*" takes more whenever what follows it does not fit.
bool fitsPattern(std::string_view pattern, std::string_view text) {
  std::size_t p = 0, t = 0, star = std::string_view::npos, taken = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      taken = t;
    } else if (p < pattern.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

}  // namespace corvane::testkit::detail
