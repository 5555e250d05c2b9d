#pragma once

#include <string>

namespace platform::detail {

/// Whether a URL's host names this machine, so that no network is needed to reach it: "localhost" and names below
/// it (RFC 6761, 6.3), loopback addresses (RFC 1122, 3.2.1.3; RFC 4291, 2.5.3), and the unspecified address, which
/// leads here too. Looks nothing up.
bool isThisMachine(const std::string& host);

}  // namespace platform::detail
