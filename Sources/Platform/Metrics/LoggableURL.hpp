#pragma once

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {

/// The URL without user name, password and fragment, for logs and metrics. Its query is kept, which may hold secrets of
/// its own.
CORVANE_API URL loggableURL(const URL& url);

}  // namespace platform
