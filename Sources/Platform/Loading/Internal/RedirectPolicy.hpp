#pragma once

#include <optional>
#include <string_view>
#include <variant>

#include "Platform/Loading/Internal/LoadFailure.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace platform::detail {

inline constexpr int maximumRedirects = 20;

/// The response stands: its status does not redirect.
struct NoRedirect {
  friend bool operator==(NoRedirect, NoRedirect) { return true; }
};

/// What to do with a response: deliver it, send the next request, or fail.
using RedirectDecision = std::variant<NoRedirect, URLRequest, LoadFailure>;

/// Decides by RFC 9110, 15.4, and what keeps credentials and bodies where they belong.
///
/// `sent` is the request of the last hop, not the first: what one hop took away never comes back. `location`
/// is the field's value, absent when there is none; `hops` is how many redirects were followed so far.
///
/// - 301, 302, 303, 307 and 308 with a Location that is not empty are followed; any other response is no redirect.
/// - 301 and 302 turn POST into GET, 303 everything but HEAD; the body goes, and with it the fields that
///   describe it. Otherwise method and body stay.
/// - What a Location may not hold (spaces, non-ASCII, a stray "%") is percent-encoded and "\" read as "/",
///   as browsers do. User and password in it are ignored. A fragment is handed on (10.2.2).
/// - When scheme, host or port change, Authorization, Cookie, Proxy-Authorization, a Host and the user and
///   password of the URL go. An Authorization with the scheme Digest, which is for one target, always goes.
///
/// Failures: -1007 after `limit` hops; -1002 for a scheme other than http and https; -1010 for a Location that
/// is no URL or has no host, and for a step from https to http: the location as such may be reached, but
/// not by this redirect.
RedirectDecision decideRedirect(const URLRequest& sent, int statusCode, std::optional<std::string_view> location,
                                int hops, int limit = maximumRedirects);

/// Whether a redirect with this status turns the method into GET, and so takes the body away.
bool becomesGet(int statusCode, std::string_view method);

/// Whether both are of one origin: equal scheme and host without regard to case, equal effective port.
bool haveSameOrigin(const URL& left, const URL& right);

/// Whether a Location leads to another origin than that of the request. One that is not a URL leads nowhere.
bool leavesOrigin(std::string_view location, const URL& sent);

}  // namespace platform::detail
