#include "Platform/Metrics/LoggableURL.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

namespace {

/// What is left of a URL may be none: of "#x" nothing is.
URL urlOf(const std::string& text) { return URL::parse(text).value_or(URL("about:invalid")); }

}  // namespace

URL loggableURL(const URL& url) {
  const std::string_view written = url.absoluteString();
  if (written.find('@') == written.npos && written.find('#') == written.npos) return url;
  std::string text(written);
  text.resize(std::min(text.find('#'), text.size()));
  const std::size_t slashes = text.find("//");
  if (slashes == std::string::npos) return urlOf(text);
  const std::size_t authority = slashes + 2;
  const std::size_t end = std::min(text.find_first_of("/?", authority), text.size());
  const std::size_t user = text.substr(authority, end - authority).rfind('@');
  if (user != std::string::npos) text.erase(authority, user + 1);
  return urlOf(text);
}

}  // namespace platform
