#pragma once

#include <string>

/// In quotes, for a POSIX shell.
std::string shellWord(const std::string& text);
