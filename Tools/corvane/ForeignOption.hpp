#pragma once

#include <string>
#include <string_view>

/// What to write here in place of an option that other tools have, in a sentence; empty where that is not known.
std::string adviceAboutForeignOption(std::string_view name);
