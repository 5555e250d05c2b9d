#pragma once

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

/// Makes a new directory inside the system's temporary one, "Corvane-" and a UUID, which only this user may enter,
/// and returns its file URL, which ends with a slash. The library never removes it. Any thread; throws the file
/// manager's errors, with the path and the reason.
CORVANE_API platform::URL makeTemporaryDirectory();

}  // namespace corvane
