#pragma once

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

/// Creates a directory in the system's temporary directory and returns its file URL, which ends with a slash. Its name
/// is "Corvane-" and a UUID; only this user may enter it. The library never removes it. May be called on any thread.
/// Throws the file manager's errors, with the path and the reason.
CORVANE_API platform::URL makeTemporaryDirectory();

}  // namespace corvane
