#include "Platform/Networking/Connecting/LocalHost.hpp"

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

bool isLocalName(std::string_view name) {
  constexpr std::string_view local = "localhost";
  if (name.ends_with('.')) name.remove_suffix(1);
  if (name.size() < local.size()) return false;
  const std::string_view rest = name.substr(0, name.size() - local.size());
  return detail::equalsIgnoringCase(name.substr(rest.size()), local) && (rest.empty() || rest.ends_with('.'));
}

bool isThisMachine(const std::string& host) {
  if (const auto address = HostAddress::fromText(host)) return address->isThisMachine();
  return isLocalName(host);
}

}  // namespace platform::networking
