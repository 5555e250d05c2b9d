#pragma once

#include "Platform/Metrics/NetworkAddress.hpp"

namespace platform::networking {

/// Of this end of a socket; empty where the system does not say.
NetworkAddress localAddress(int socket);
/// Of the other end.
NetworkAddress remoteAddress(int socket);

}  // namespace platform::networking
