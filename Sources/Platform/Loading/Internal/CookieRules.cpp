#include "Platform/Loading/Internal/CookieRules.hpp"

#include <libpsl.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

#include "Platform/Loading/Internal/SetCookie.hpp"
#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// Whether unrelated people register names below it.
bool isPublicSuffix(const std::string& domain) {
  const psl_ctx_t* const list = psl_builtin();
  return list ? psl_is_public_suffix(list, domain.c_str()) == 1 : domain.find('.') == std::string::npos;
}

/// Up to the last slash (RFC 6265bis, 5.1.4).
std::string defaultPath(std::string_view target) {
  const std::string_view path = cookiePathOf(target);
  const std::size_t slash = path.rfind('/');
  if (!path.starts_with('/') || slash == 0) return "/";
  return std::string(path.substr(0, slash));
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

/// Whether what the name promises holds (RFC 6265bis, 4.1.3). One without a name must not look as if it had such a
/// name.
bool keepsPromise(std::string_view name, std::string_view value, bool isSecure, bool isOfWholeHost) {
  const std::string_view shown = name.empty() ? value : name;
  const bool isSecurePrefix = startsWithIgnoringCase(shown, "__Secure-");
  const bool isHostPrefix = startsWithIgnoringCase(shown, "__Host-");
  if (!isSecurePrefix && !isHostPrefix) return true;
  if (name.empty() || !isSecure) return false;
  return !isHostPrefix || isOfWholeHost;
}

/// What has expired long ago would not fit.
HTTPCookie::Time timeOf(std::int64_t secondsSince1970) {
  return HTTPCookie::Time(std::chrono::seconds(std::max<std::int64_t>(secondsSince1970, 0)));
}

bool canBeWritten(std::string_view text, std::string_view separators) {
  return !holdsForbiddenControl(text) && text.find_first_of(separators) == text.npos && trimmed(text) == text;
}

}  // namespace

/// An address is in no domain, nor is one of IPv6 whose zone ends as a domain does.
bool isInCookieDomain(const std::string& host, std::string_view domain) {
  if (host == domain) return true;
  return host.size() > domain.size() + 1 && host.ends_with(domain) && host[host.size() - domain.size() - 1] == '.' &&
         host.find(':') == host.npos && !networking::HostAddress::fromText(host);
}

bool cookiePathMatches(std::string_view path, std::string_view cookiePath) {
  if (!path.starts_with(cookiePath)) return false;
  return path.size() == cookiePath.size() || cookiePath.ends_with('/') || path[cookiePath.size()] == '/';
}

std::string_view cookiePathOf(std::string_view target) {
  return target.substr(0, std::min(target.find('?'), target.size()));
}

bool isExpired(const HTTPCookie& cookie, HTTPCookie::Time now) { return cookie.expires && *cookie.expires <= now; }

std::optional<HTTPCookie> receivedCookie(std::string_view field, const networking::Origin& origin,
                                         std::string_view target) {
  std::optional<SetCookie> said = SetCookie::parse(field, static_cast<std::int64_t>(std::time(nullptr)));
  if (!said || (said->isSecure && !origin.isSecure)) return std::nullopt;
  if (!keepsPromise(said->name, said->value, said->isSecure, said->domain.empty() && said->path == "/"))
    return std::nullopt;
  if (!said->domain.empty() && isPublicSuffix(said->domain)) {
    // The owner of a suffix may have cookies of its own.
    if (said->domain != origin.host) return std::nullopt;
    said->domain.clear();
  }
  if (!said->domain.empty() && !isInCookieDomain(origin.host, said->domain)) return std::nullopt;
  HTTPCookie cookie;
  cookie.name = std::move(said->name);
  cookie.value = std::move(said->value);
  cookie.isHostOnly = said->domain.empty();
  cookie.domain = cookie.isHostOnly ? origin.host : std::move(said->domain);
  cookie.path = said->path.empty() ? defaultPath(target) : std::move(said->path);
  if (said->expiry) cookie.expires = timeOf(*said->expiry);
  cookie.isSecure = said->isSecure;
  cookie.isHTTPOnly = said->isHTTPOnly;
  cookie.sameSite = std::move(said->sameSite);
  return cookie;
}

std::string cookieProblem(const HTTPCookie& cookie) {
  if (cookie.name.empty() && cookie.value.empty()) return "A cookie has neither a name nor a value.";
  const std::string subject = "The cookie \"" + cookie.name + "\" ";
  if (!canBeWritten(cookie.name, "=;") || !canBeWritten(cookie.value, ";"))
    return subject + "has a name or a value that cannot be sent.";
  if (cookie.name.size() + cookie.value.size() > SetCookie::maximumBytes)
    return subject + "is longer than " + std::to_string(SetCookie::maximumBytes) + " bytes.";
  if (cookie.domain.empty() || cookie.domain.starts_with('.') || !canBeWritten(cookie.domain, " ;/"))
    return subject + "has a domain that no host can have: \"" + cookie.domain + "\".";
  if (!cookie.isHostOnly && isPublicSuffix(lowercased(cookie.domain)))
    return subject + "is for all of \"" + cookie.domain + "\", a public suffix.";
  if (!cookie.path.starts_with('/') || !canBeWritten(cookie.path, ";"))
    return subject + "has a path that no URL can have: \"" + cookie.path + "\".";
  if (!keepsPromise(cookie.name, cookie.value, cookie.isSecure, cookie.isHostOnly && cookie.path == "/"))
    return subject + "is not what its prefix promises.";
  return {};
}

}  // namespace platform::detail
