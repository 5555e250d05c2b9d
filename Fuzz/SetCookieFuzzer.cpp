#include <arpa/inet.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "FuzzInput.hpp"
#include "Platform/Loading/Internal/CookieJar.hpp"
#include "Platform/Loading/Internal/SetCookie.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::fuzz {

namespace {

using detail::CookieJar;
using detail::SetCookie;
using networking::Origin;

constexpr std::int64_t longestLife = std::int64_t{400} * 24 * 60 * 60;
constexpr std::size_t maximumSteps = 32;

/// A request, to a server that gives cookies or gets them.
struct Request {
  Origin origin;
  std::string target;
};

/// A Set-Cookie field that a server gave.
struct Given {
  SetCookie cookie;
  Request request;
};

std::string pairOf(const SetCookie& cookie) {
  return cookie.name.empty() ? cookie.value : cookie.name + "=" + cookie.value;
}

bool isAddress(const std::string& host) {
  in_addr address{};
  return host.find(':') != std::string::npos || ::inet_pton(AF_INET, host.c_str(), &address) == 1;
}

bool isBelow(const std::string& host, const std::string& domain) { return host.ends_with("." + domain); }

std::string pathOf(const std::string& target) { return target.substr(0, target.find('?')); }

/// The folder of a path, as RFC 6265bis has it in 5.1.4.
std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos || slash == 0 || path.front() != '/' ? "/" : path.substr(0, slash);
}

/// Whether a path is a folder, or in it.
bool isIn(std::string path, std::string folder) {
  if (path == folder) return true;
  if (!folder.ends_with('/')) folder += '/';
  return path.starts_with(folder);
}

/// Whether RFC 6265bis lets a server have what this one or another gave.
bool mayHave(const Request& request, const Given& given) {
  const std::string& host = request.origin.host;
  const std::string& giver = given.request.origin.host;
  const std::string& domain = given.cookie.domain;
  const bool isForDomain = !domain.empty() && (giver == domain || (isBelow(giver, domain) && !isAddress(giver)));
  const bool isSharedByStrangers = domain.find('.') == std::string::npos || domain == "co.uk";
  if (host != giver && !(isForDomain && !isSharedByStrangers && (host == domain || isBelow(host, domain))))
    return false;
  if (host != giver && isAddress(host)) return false;
  if (given.cookie.isSecure && !(request.origin.isSecure && given.request.origin.isSecure)) return false;
  return isIn(pathOf(request.target),
              given.cookie.path.empty() ? folderOf(pathOf(given.request.target)) : given.cookie.path);
}

void checkCookies(CookieJar& jar, const Request& request, const std::vector<Given>& given) {
  std::string header;
  jar.appendTo(header, request.origin, request.target);
  std::string_view rest = header;
  while (!rest.empty()) {
    // No pair holds a semicolon.
    const std::size_t end = std::min(rest.find("; "), rest.size());
    const std::string_view pair = rest.substr(0, end);
    require(std::any_of(given.begin(), given.end(),
                        [&](const Given& each) { return pairOf(each.cookie) == pair && mayHave(request, each); }),
            "a server gets a cookie that is not for it");
    rest.remove_prefix(std::min(end + 2, rest.size()));
  }
}

void checkParsed(const SetCookie& cookie, std::int64_t now) {
  require(cookie.name.size() + cookie.value.size() <= SetCookie::maximumBytes, "a cookie is too long");
  for (const std::string* text : {&cookie.name, &cookie.value, &cookie.domain, &cookie.path}) {
    require(!detail::holdsForbiddenControl(*text), "a cookie holds a control character");
    require(text->find(';') == std::string::npos, "a cookie goes on after its end");
    require(detail::trimmed(*text) == *text || text == &cookie.domain, "a cookie holds the spaces around it");
  }
  require(cookie.name.find('=') == std::string::npos, "a name goes on after its end");
  require(detail::lowercased(cookie.domain) == cookie.domain, "a domain is not in lower case");
  require(cookie.path.empty() || cookie.path.front() == '/', "a path does not begin with a slash");
  require(!cookie.expiry || *cookie.expiry <= now + longestLife, "a cookie lives too long");
  const auto again = SetCookie::parse(cookie.name + "=" + cookie.value, now);
  require(again && again->name == cookie.name && again->value == cookie.value, "a cookie reads otherwise when written");
}

/// A date that was read reads the same when it is written anew.
void checkDate(std::string_view text) {
  const auto date = detail::cookieDate(text);
  if (!date) return;
  const auto time = static_cast<std::time_t>(*date);
  std::tm parts{};
  gmtime_r(&time, &parts);
  char written[64];
  const std::size_t size = std::strftime(written, sizeof written, "%a, %d %b %Y %H:%M:%S GMT", &parts);
  require(detail::cookieDate({written, size}) == date, "a date reads otherwise when written");
}

/// A cookie that nothing speaks against comes back to the server that gave it.
void checkReturn(CookieJar& jar, const Given& given) {
  const SetCookie& cookie = given.cookie;
  const bool isPlain = cookie.domain.empty() && cookie.path.empty() && !cookie.expiry && !cookie.isSecure &&
                       !cookie.name.starts_with("__") && !cookie.value.starts_with("__");
  if (!isPlain || !given.request.origin.isSecure || !given.request.target.starts_with('/')) return;
  std::string header;
  jar.appendTo(header, given.request.origin, given.request.target);
  require(("; " + header + "; ").find("; " + pairOf(cookie) + "; ") != std::string::npos, "a cookie gets lost");
}

/// A line holds "s" where it is https, the host, and the target: "s www.example.org /a/b?c".
Request readRequest(std::string_view line) {
  Request request;
  request.origin.isSecure = takeByte(line) == 's';
  line.remove_prefix(std::min<std::size_t>(1, line.size()));
  const std::size_t end = std::min(line.find(' '), line.size());
  request.origin.host = detail::lowercased(line.substr(0, end));
  if (request.origin.host.empty()) request.origin.host = "host";  // an origin has one
  request.target = line.substr(std::min(end + 1, line.size()));
  return request;
}

/// A server gives more than is kept for its domain.
void flood(CookieJar& jar, const Request& request, std::vector<Given>& given) {
  const std::size_t before = jar.count();
  for (std::size_t number = 0; number <= CookieJar::maximumOfDomain; ++number) {
    const std::string field = "flood" + std::to_string(number) + "=1; Path=/";
    jar.store(field, request.origin, request.target);
    given.push_back({*SetCookie::parse(field, 0), request});
  }
  require(jar.count() <= before + CookieJar::maximumOfDomain, "a jar keeps too much of one domain");
}

/// Two requests by turns: one whose response has the field in the line between them, and one that gets cookies only.
void check(std::string_view input) {
  CookieJar jar;
  std::vector<Given> given;
  bool isFlooded = false;
  for (std::size_t step = 0; step < maximumSteps && !input.empty(); ++step) {
    const Request giving = readRequest(takeLine(input));
    const std::string_view field = takeLine(input);
    checkDate(field);
    const std::int64_t now = std::time(nullptr);
    const std::size_t before = jar.count();
    jar.store(field, giving.origin, giving.target);
    require(jar.count() <= before + 1, "one field makes several cookies");
    if (const auto cookie = SetCookie::parse(field, now)) {
      checkParsed(*cookie, now);
      given.push_back({*cookie, giving});
      checkReturn(jar, given.back());
    }
    if (field == "flood" && !std::exchange(isFlooded, true)) flood(jar, giving, given);

    checkCookies(jar, readRequest(takeLine(input)), given);
    checkCookies(jar, giving, given);
    checkCookies(jar, {{.isSecure = true, .host = "x" + giving.origin.host, .port = 443}, giving.target}, given);
  }
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
