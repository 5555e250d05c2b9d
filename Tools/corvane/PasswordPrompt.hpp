#pragma once

#include <string>

/// Asks on the terminal of the process, and reads a line that is not shown. Throws `UsageError` where there is no
/// terminal, or nothing is written.
std::string passwordFromTerminal(const std::string& question);
