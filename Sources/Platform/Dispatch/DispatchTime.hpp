#pragma once

#include <chrono>

namespace platform {

/// Seconds as a floating-point number, the unit of every interval in the library. Any `std::chrono`
/// duration converts to it.
using Seconds = std::chrono::duration<double>;

}  // namespace platform
