#pragma once

#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// Stops the process because of a programming error: prints "Corvane: " and the reason to standard error
/// with one write, then aborts. Nothing is unwound. Safe on any thread.
[[noreturn]] CORVANE_API void trap(std::string_view reason) noexcept;

}  // namespace platform
