#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Loading/HTTPCookie.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// What RFC 6265bis allows a cookie.

/// Whether the host is the domain, or below it (5.1.3). Both in lower case.
bool isInCookieDomain(const std::string& host, std::string_view domain);
/// Whether the path of a request is in that of a cookie (5.1.4).
bool cookiePathMatches(std::string_view path, std::string_view cookiePath);
/// The path of a request's target.
std::string_view cookiePathOf(std::string_view target);

/// What the value of a Set-Cookie field asks to store, where it may (5.7).
std::optional<HTTPCookie> receivedCookie(std::string_view field, const networking::Origin& origin,
                                         std::string_view target);
/// `HTTPCookie::problem`.
std::string cookieProblem(const HTTPCookie& cookie);

/// Whether it has expired.
bool isExpired(const HTTPCookie& cookie, HTTPCookie::Time now);

}  // namespace platform::detail
