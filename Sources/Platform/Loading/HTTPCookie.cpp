#include "Platform/Loading/HTTPCookie.hpp"

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/CookieRules.hpp"
#include "Platform/Loading/Internal/RequestTarget.hpp"

namespace platform {

std::optional<HTTPCookie> HTTPCookie::fromSetCookie(std::string_view field, const URL& url) {
  detail::RequestTarget target;
  if (!target.set(url)) return std::nullopt;
  return detail::receivedCookie(field, target.route().origin, target.target());
}

std::string HTTPCookie::problem() const { return detail::cookieProblem(*this); }

}  // namespace platform
