#include "Corvane/Request/Detail/DefaultHeaders.hpp"

#include <algorithm>

#include "Corvane/Request/UserAgent.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/Locale.hpp"

namespace corvane::detail {

using platform::HTTPHeaderFields;

HTTPHeaderFields defaultHeaders(std::string_view acceptType) {
  return {
      {"Accept", std::string(acceptType)},
      {"User-Agent", userAgent()},
      {"Accept-Language", acceptLanguage(platform::Locale::preferredLanguages())},
      {"Accept-Encoding", "gzip;q=1.0, compress;q=0.5"},
  };
}

std::string acceptLanguage(const std::vector<std::string>& preferredLanguages) {
  constexpr std::size_t mostLanguages = 6;
  std::string value;
  for (std::size_t i = 0; i < std::min(mostLanguages, preferredLanguages.size()); ++i) {
    const double quality = 1.0 - 0.1 * static_cast<double>(i);
    if (i > 0) value += ", ";
    value.append(preferredLanguages[i]).append(";q=").append(platform::AnyValue(quality).description());
  }
  return value;
}

}  // namespace corvane::detail
