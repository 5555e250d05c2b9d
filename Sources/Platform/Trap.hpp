#pragma once

#include <initializer_list>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// Stops the process because of a programming error, or because it cannot go on: prints "Corvane: " and the reason to
/// standard error with one write, then aborts. It does not unwind the stack and does not allocate. Safe on any thread.
[[noreturn]] CORVANE_API void trap(std::string_view reason) noexcept;

/// The same with a reason in parts, at most eight.
[[noreturn]] CORVANE_API void trapWith(std::initializer_list<std::string_view> reason) noexcept;

}  // namespace platform
