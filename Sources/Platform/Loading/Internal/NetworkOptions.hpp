#pragma once

#include "Platform/Loading/ConnectionConfiguration.hpp"
#include "Platform/Loading/TLSConfiguration.hpp"
#include "Platform/Networking/Connecting/ConnectionOptions.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"

namespace platform::detail {

// What the networking layer makes of a session's configuration, which has no problem.

networking::ConnectionOptions connectionOptions(const ConnectionConfiguration& configuration);
networking::TLSOptions tlsOptions(const TLSConfiguration& configuration, HTTPVersions versions);

}  // namespace platform::detail
