#include "Platform/Loading/Internal/RedirectPolicy.hpp"

#include <algorithm>
#include <initializer_list>
#include <string>

#include "Platform/Foundation/Internal/UserInformation.hpp"
#include "Platform/Foundation/URLComponents.hpp"
#include "Platform/Loading/Internal/RedirectLocation.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

bool leadsElsewhere(int statusCode) {
  return statusCode == 301 || statusCode == 302 || statusCode == 303 || statusCode == 307 || statusCode == 308;
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::any_of(names.begin(), names.end(), [&](auto one) { return equalsIgnoringCase(name, one); });
}

/// Fields that say something about the body (RFC 9110, 15.4).
bool describesBody(std::string_view name) {
  constexpr std::string_view prefix = "Content-";
  return equalsIgnoringCase(name.substr(0, prefix.size()), prefix) ||
         isOneOf(name, {"Transfer-Encoding", "Trailer", "Expect", "Digest", "Repr-Digest", "Last-Modified"});
}

/// Fields that are meant for one origin only. "tracestate" has what the systems of the caller say to each other,
/// whereas "traceparent" has random numbers (W3C Trace Context, 6).
bool belongsToOrigin(std::string_view name) {
  return isOneOf(name, {"Authorization", "Cookie", "Cookie2", "Proxy-Authorization", "Host", "tracestate"});
}

void dropFields(HTTPHeaderFields& fields, bool (*isDropped)(std::string_view)) {
  HTTPHeaderFields kept;
  for (const auto& [name, value] : fields) {
    if (!isDropped(name)) kept.add(name, value);
  }
  fields = std::move(kept);
}

/// A digest is of one target and method. Servers respond with 400 where it comes with others (RFC 7616, 3.4.6), and to
/// none with a challenge.
void dropDigest(HTTPHeaderFields& fields) {
  constexpr std::string_view scheme = "Digest ";
  const auto value = fields.value("Authorization");
  if (value && equalsIgnoringCase(std::string_view(*value).substr(0, scheme.size()), scheme))
    fields.remove("Authorization");
}

std::string schemeOf(const URL& url) { return lowercased(url.scheme().value_or("")); }

std::uint16_t effectivePort(const URL& url) { return url.port().value_or(schemeOf(url) == "https" ? 443 : 80); }

/// User and password come from `sent` alone, and go no further than its origin.
std::optional<URL> withCredentialsOf(const URL& target, const URL& sent, bool isSameOrigin) {
  auto parts = URLComponents::make(target, true);
  const auto own = URLComponents::make(sent, true);
  if (!parts || !own) return std::nullopt;
  parts->percentEncodedUser = isSameOrigin ? own->percentEncodedUser : std::nullopt;
  parts->percentEncodedPassword = isSameOrigin ? own->percentEncodedPassword : std::nullopt;
  return parts->url();
}

/// Without user and password.
std::string shown(std::string_view location) { return "\"" + printable(withoutUserInformation(location)) + "\""; }

LoadFailure unusable(std::string_view location, const char* reason) {
  return {URLErrorCode::redirectToNonExistentLocation,
          "the redirect to " + shown(location) + " cannot be followed: " + reason};
}

std::optional<LoadFailure> objection(const URL& target, const URL& sent, std::string_view location) {
  const std::string scheme = schemeOf(target);
  if (scheme != "http" && scheme != "https") {
    return LoadFailure{URLErrorCode::unsupportedURL,
                       "the redirect to " + shown(location) + " cannot be followed: only http and https can be"};
  }
  if (!target.host()) return unusable(location, "it has no host");
  if (scheme == "http" && schemeOf(sent) == "https") return unusable(location, "it leads from https to http");
  return std::nullopt;
}

}  // namespace

bool becomesGet(int statusCode, std::string_view method) {
  if (statusCode == 303) return method != "HEAD";
  return (statusCode == 301 || statusCode == 302) && method == "POST";
}

bool haveSameOrigin(const URL& left, const URL& right) {
  return schemeOf(left) == schemeOf(right) && effectivePort(left) == effectivePort(right) &&
         equalsIgnoringCase(left.host().value_or(""), right.host().value_or(""));
}

bool leavesOrigin(std::string_view location, const URL& sent) {
  const auto target = resolvedLocation(location, sent);
  return target && !haveSameOrigin(*target, sent);
}

RedirectDecision decideRedirect(const URLRequest& sent, int statusCode, std::optional<std::string_view> location,
                                int hops, int limit) {
  if (!leadsElsewhere(statusCode) || !location || trimmed(*location).empty()) return NoRedirect{};
  if (hops >= limit)
    return LoadFailure{URLErrorCode::httpTooManyRedirects,
                       "more than " + std::to_string(limit) + " redirects, the last of them to " + shown(*location)};
  const auto target = resolvedLocation(*location, sent.url);
  if (!target) return unusable(*location, "it is not a URL");
  if (auto failure = objection(*target, sent.url, *location)) return std::move(*failure);

  const bool isSameOrigin = haveSameOrigin(*target, sent.url);
  auto url = withCredentialsOf(*target, sent.url, isSameOrigin);
  if (!url) return unusable(*location, "it is not a URL");
  URLRequest next = sent;
  next.url = std::move(*url);
  isSameOrigin ? dropDigest(next.allHTTPHeaderFields) : dropFields(next.allHTTPHeaderFields, belongsToOrigin);
  if (becomesGet(statusCode, next.httpMethod)) {
    next.httpMethod = "GET";
    next.httpBody.reset();
    next.httpBodyStream.reset();
    dropFields(next.allHTTPHeaderFields, describesBody);
  }
  return next;
}

}  // namespace platform::detail
