#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane::detail {

/// The fields that every request starts with: "Accept", "User-Agent", "Accept-Language" and "Accept-Encoding". Made
/// anew for another type or when the preferred languages change; requests share them otherwise. Any thread.
CORVANE_API platform::HTTPHeaderFields defaultHeaders(std::string_view acceptType);

/// At most six languages with falling quality, e.g. "en-US;q=1.0, fr;q=0.9" (RFC 9110, 12.5.4).
CORVANE_API std::string acceptLanguage(const std::vector<std::string>& preferredLanguages);

}  // namespace corvane::detail
