#include "Platform/Loading/Internal/HostName.hpp"

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/RequestTarget.hpp"

namespace platform::detail {

std::optional<std::string> hostName(const std::string& text) {
  if (text.empty() || text.find_first_of("/?#@") != std::string::npos) return std::nullopt;
  const bool isIPv6 = text.find(':') != std::string::npos && text.front() != '[';
  const std::optional<URL> url = URL::parse("https://" + (isIPv6 ? "[" + text + "]" : text) + "/");
  RequestTarget target;
  if (!url || url->port() || !target.set(*url)) return std::nullopt;
  return target.host();
}

}  // namespace platform::detail
