#pragma once

#include <system_error>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace platform {

/// An error as the standard library's error code. The category has the name of the domain. There is one category object
/// per domain for the life of the process, so that codes of one domain compare equal by value. The value is the error's
/// code, truncated to `int`. The category's message is the domain and the number; the error's own message is lost.
CORVANE_API std::error_code toErrorCode(const Error& error);

}  // namespace platform
