#pragma once

#include <string>
#include <string_view>

namespace platform::networking {

/// Whether this is "localhost" or a name below it. Such names never leave the machine, whatever a name server would say
/// (RFC 6761, 6.3).
bool isLocalName(std::string_view name);

/// Whether a URL's host names this machine, so that no network is needed to reach it: by a local name, by a loopback
/// address (RFC 1122, 3.2.1.3; RFC 4291, 2.5.3), or by the unspecified address, which leads here, too. Looks nothing
/// up.
bool isThisMachine(const std::string& host);

}  // namespace platform::networking
