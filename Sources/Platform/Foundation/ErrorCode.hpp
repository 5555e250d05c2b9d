#pragma once

#include <system_error>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace platform {

/// An error as the standard library's error code. The category is named like the domain, one object per
/// domain for the life of the process, so codes compare as domains do; the value is the error's code, cut
/// to `int`. The category's message is the domain and the number: the error's own message stays behind.
CORVANE_API std::error_code toErrorCode(const Error& error);

}  // namespace platform
