#pragma once

#include <cstdint>
#include <string>

#include "CorvaneTesting/Internal/Descriptor.hpp"

namespace corvane::testkit::detail {

/// A TCP socket bound to a numeric address; port 0 lets the system choose. Throws `std::system_error`.
Descriptor boundSocket(const std::string& address, std::uint16_t port);
void startListening(const Descriptor& socket, int backlog);
std::uint16_t portOf(const Descriptor& socket);

}  // namespace corvane::testkit::detail
