#pragma once

#include "ToolOptions.hpp"

/// Prints, for each URL, a shell command that sends what the tool would send there once. A body that does not fit on a
/// command line is read from the user's own file where that holds it, else from a new file that standard error names.
/// Returns false, after saying why on standard error, when something could not be written.
bool printShellCommand(const ToolOptions& options);
