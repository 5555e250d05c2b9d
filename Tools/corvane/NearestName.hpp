#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The name that was probably meant: it differs in two letters at most; empty when there is none.
std::string nearestName(std::string_view written, const std::vector<std::string>& names);
