#include "Platform/Loading/Internal/CookieJar.hpp"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "Platform/Loading/Internal/CookieRules.hpp"

namespace platform::detail {

namespace {

HTTPCookie::Time now() { return std::chrono::system_clock::now(); }

}  // namespace

void CookieJar::store(std::string_view field, const networking::Origin& origin, std::string_view target) {
  if (auto cookie = receivedCookie(field, origin, target)) insert(std::move(*cookie), origin.isSecure);
}

CookieJar::Cookies::iterator CookieJar::find(Cookies& cookies, const HTTPCookie& cookie) {
  return std::find_if(cookies.begin(), cookies.end(), [&](const Kept& other) {
    return other.cookie.name == cookie.name && other.cookie.path == cookie.path &&
           other.cookie.isHostOnly == cookie.isHostOnly;
  });
}

void CookieJar::insert(HTTPCookie cookie, bool isSecureOrigin) {
  if (!isSecureOrigin && hidesSecure(cookie)) return;
  if (isExpired(cookie, now())) {
    remove(cookie);
    return;
  }
  Cookies& cookies = domains_[cookie.domain];
  if (const auto same = find(cookies, cookie); same != cookies.end()) {
    same->cookie = std::move(cookie);
    return;
  }
  cookies.push_back({std::move(cookie), ++lastCreated_});
  ++count_;
  if (cookies.size() > maximumOfDomain) removeOldest(cookies);
  if (count_ > maximumInAll) makeRoom();
}

bool CookieJar::remove(const HTTPCookie& cookie) {
  const auto domain = domains_.find(cookie.domain);
  if (domain == domains_.end()) return false;
  Cookies& cookies = domain->second;
  const auto found = find(cookies, cookie);
  if (found == cookies.end()) return false;
  cookies.erase(found);
  --count_;
  if (cookies.empty()) domains_.erase(domain);
  return true;
}

/// An insecure origin may not put a cookie in front of one that was set over https (RFC 6265bis, 5.7).
bool CookieJar::hidesSecure(const HTTPCookie& cookie) const {
  for (const auto& [otherDomain, cookies] : domains_) {
    if (!isInCookieDomain(cookie.domain, otherDomain) && !isInCookieDomain(otherDomain, cookie.domain)) continue;
    for (const auto& [other, created] : cookies) {
      if (other.isSecure && other.name == cookie.name && cookiePathMatches(cookie.path, other.path)) return true;
    }
  }
  return false;
}

void CookieJar::removeExpired(Cookies& cookies) {
  count_ -= std::erase_if(cookies, [time = now()](const Kept& kept) { return isExpired(kept.cookie, time); });
}

void CookieJar::removeOldest(Cookies& cookies) {
  cookies.erase(std::min_element(cookies.begin(), cookies.end(),
                                 [](const Kept& left, const Kept& right) { return left.created < right.created; }));
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

std::vector<const CookieJar::Kept*> CookieJar::chosen(const networking::Origin& origin, std::string_view target) {
  std::vector<const Kept*> chosen;
  const std::string_view path = cookiePathOf(target);
  // The host itself, and each domain above it.
  for (std::string_view domain = origin.host; !domain.empty();) {
    if (const auto found = domains_.find(domain); found != domains_.end()) {
      Cookies& cookies = found->second;
      removeExpired(cookies);
      const bool isOfHost = domain.size() == origin.host.size();
      for (const Kept& kept : cookies) {
        if (!isOfHost && (kept.cookie.isHostOnly || !isInCookieDomain(origin.host, domain))) continue;
        if (kept.cookie.isSecure && !origin.isSecure) continue;
        if (cookiePathMatches(path, kept.cookie.path)) chosen.push_back(&kept);
      }
      if (cookies.empty()) domains_.erase(found);
    }
    const std::size_t dot = domain.find('.');
    domain = dot == domain.npos ? std::string_view() : domain.substr(dot + 1);
  }
  std::sort(chosen.begin(), chosen.end(), [](const Kept* left, const Kept* right) {
    const auto lengths = std::pair(left->cookie.path.size(), right->cookie.path.size());
    return lengths.first != lengths.second ? lengths.first > lengths.second : left->created < right->created;
  });
  return chosen;
}

void CookieJar::appendTo(std::string& out, const networking::Origin& origin, std::string_view target) {
  if (domains_.empty()) return;
  for (const Kept* const kept : chosen(origin, target)) {
    if (!out.empty()) out += "; ";
    if (!kept->cookie.name.empty()) out.append(kept->cookie.name).push_back('=');
    out += kept->cookie.value;
  }
}

std::vector<HTTPCookie> CookieJar::cookies(const networking::Origin& origin, std::string_view target) {
  std::vector<HTTPCookie> result;
  for (const Kept* const kept : chosen(origin, target)) result.push_back(kept->cookie);
  return result;
}

std::vector<HTTPCookie> CookieJar::cookies() const {
  std::vector<const Kept*> kept;
  for (const auto& [domain, cookies] : domains_) {
    for (const Kept& each : cookies) {
      if (!isExpired(each.cookie, now())) kept.push_back(&each);
    }
  }
  std::sort(kept.begin(), kept.end(),
            [](const Kept* left, const Kept* right) { return left->created < right->created; });
  std::vector<HTTPCookie> result;
  result.reserve(kept.size());
  for (const Kept* const each : kept) result.push_back(each->cookie);
  return result;
}

}  // namespace platform::detail
