#include "Platform/Loading/Internal/CookieJar.hpp"

#include <libpsl.h>

#include <algorithm>
#include <ctime>
#include <utility>

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

std::int64_t secondsSince1970() { return static_cast<std::int64_t>(std::time(nullptr)); }

/// Whether the host is the domain, or below it (RFC 6265bis, 5.1.3). Both in lower case.
bool isInDomain(const std::string& host, std::string_view domain) {
  if (host == domain) return true;
  return host.size() > domain.size() + 1 && host.ends_with(domain) && host[host.size() - domain.size() - 1] == '.' &&
         !networking::HostAddress::fromText(host);
}

/// Whether unrelated people register names below it.
bool isPublicSuffix(const std::string& domain) {
  const psl_ctx_t* const list = psl_builtin();
  return list ? psl_is_public_suffix(list, domain.c_str()) == 1 : domain.find('.') == std::string::npos;
}

std::string_view pathOf(std::string_view target) { return target.substr(0, std::min(target.find('?'), target.size())); }

/// Up to the last slash (RFC 6265bis, 5.1.4).
std::string defaultPath(std::string_view target) {
  const std::string_view path = pathOf(target);
  const std::size_t slash = path.rfind('/');
  if (!path.starts_with('/') || slash == 0) return "/";
  return std::string(path.substr(0, slash));
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

/// Whether what the name promises holds (RFC 6265bis, 4.1.3). One without a name must not look as if it had such a
/// name.
bool keepsPromise(const SetCookie& cookie) {
  const std::string_view name = cookie.name.empty() ? std::string_view(cookie.value) : std::string_view(cookie.name);
  const bool isSecurePrefix = startsWithIgnoringCase(name, "__Secure-");
  const bool isHostPrefix = startsWithIgnoringCase(name, "__Host-");
  if (!isSecurePrefix && !isHostPrefix) return true;
  if (cookie.name.empty() || !cookie.isSecure) return false;
  return !isHostPrefix || (cookie.domain.empty() && cookie.path == "/");
}

}  // namespace

bool cookiePathMatches(std::string_view path, std::string_view cookiePath) {
  if (!path.starts_with(cookiePath)) return false;
  return path.size() == cookiePath.size() || cookiePath.ends_with('/') || path[cookiePath.size()] == '/';
}

void CookieJar::store(std::string_view field, const networking::Origin& origin, std::string_view target) {
  const std::int64_t now = secondsSince1970();
  std::optional<SetCookie> said = SetCookie::parse(field, now);
  if (!said || !keepsPromise(*said) || (said->isSecure && !origin.isSecure)) return;
  if (!said->domain.empty() && isPublicSuffix(said->domain)) {
    // The owner of a suffix may have cookies of its own.
    if (said->domain != origin.host) return;
    said->domain.clear();
  }
  if (!said->domain.empty() && !isInDomain(origin.host, said->domain)) return;
  Cookie cookie{.name = std::move(said->name),
                .value = std::move(said->value),
                .path = said->path.empty() ? defaultPath(target) : std::move(said->path),
                .expiry = said->expiry,
                .isHostOnly = said->domain.empty(),
                .isSecure = said->isSecure};
  insert(said->domain.empty() ? origin.host : said->domain, std::move(cookie), origin.isSecure);
}

void CookieJar::insert(const std::string& domain, Cookie cookie, bool isSecureOrigin) {
  if (!isSecureOrigin && hidesSecure(domain, cookie)) return;
  Cookies& cookies = domains_[domain];
  cookie.created = ++lastCreated_;
  const auto same = std::find_if(cookies.begin(), cookies.end(), [&](const Cookie& other) {
    return other.name == cookie.name && other.path == cookie.path && other.isHostOnly == cookie.isHostOnly;
  });
  if (same != cookies.end()) {
    cookie.created = same->created;
    cookies.erase(same);
    --count_;
  }
  const bool isExpired = cookie.expiry && *cookie.expiry <= secondsSince1970();
  if (!isExpired) {
    cookies.push_back(std::move(cookie));
    ++count_;
    if (cookies.size() > maximumOfDomain) removeOldest(cookies);
  }
  if (cookies.empty()) domains_.erase(domain);
  if (count_ > maximumInAll) makeRoom();
}

/// An insecure origin may not put a cookie in front of one that was set over https (RFC 6265bis, 5.7).
bool CookieJar::hidesSecure(const std::string& domain, const Cookie& cookie) const {
  for (const auto& [otherDomain, cookies] : domains_) {
    if (!isInDomain(domain, otherDomain) && !isInDomain(otherDomain, domain)) continue;
    for (const Cookie& other : cookies) {
      if (other.isSecure && other.name == cookie.name && cookiePathMatches(cookie.path, other.path)) return true;
    }
  }
  return false;
}

void CookieJar::removeOldest(Cookies& cookies) {
  cookies.erase(std::min_element(cookies.begin(), cookies.end(),
                                 [](const Cookie& left, const Cookie& right) { return left.created < right.created; }));
  --count_;
}

/// Of the domain that has most.
void CookieJar::makeRoom() {
  const auto fullest = std::max_element(domains_.begin(), domains_.end(), [](const auto& left, const auto& right) {
    return left.second.size() < right.second.size();
  });
  removeOldest(fullest->second);
  if (fullest->second.empty()) domains_.erase(fullest);
}

void CookieJar::appendTo(std::string& out, const networking::Origin& origin, std::string_view target) {
  if (domains_.empty()) return;
  const std::int64_t now = secondsSince1970();
  const std::string_view path = pathOf(target);
  std::vector<const Cookie*> chosen;
  // The host itself, and each domain above it.
  for (std::string_view domain = origin.host; !domain.empty();) {
    if (const auto found = domains_.find(domain); found != domains_.end()) {
      Cookies& cookies = found->second;
      count_ -= std::erase_if(cookies, [&](const Cookie& cookie) { return cookie.expiry && *cookie.expiry <= now; });
      for (const Cookie& cookie : cookies) {
        const bool isOfHost = domain.size() == origin.host.size();
        if (cookie.isHostOnly && !isOfHost) continue;
        if (!isOfHost && !isInDomain(origin.host, domain)) continue;
        if (cookie.isSecure && !origin.isSecure) continue;
        if (cookiePathMatches(path, cookie.path)) chosen.push_back(&cookie);
      }
      if (cookies.empty()) domains_.erase(found);
    }
    const std::size_t dot = domain.find('.');
    domain = dot == domain.npos ? std::string_view() : domain.substr(dot + 1);
  }
  std::sort(chosen.begin(), chosen.end(), [](const Cookie* left, const Cookie* right) {
    if (left->path.size() != right->path.size()) return left->path.size() > right->path.size();
    return left->created < right->created;
  });
  for (const Cookie* cookie : chosen) {
    if (!out.empty()) out += "; ";
    if (!cookie->name.empty()) out.append(cookie->name).push_back('=');
    out += cookie->value;
  }
}

}  // namespace platform::detail
