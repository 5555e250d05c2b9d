#pragma once

#include <string>

namespace vantorel::detail {

/// The calling thread's stack, innermost frame first, each on an indented line of its own.
std::string stackTrace();

}  // namespace vantorel::detail
