#pragma once

#include <Corvane/Corvane.hpp>
#include <string>

/// The section of a form that a text describes: "NAME=VALUE", "NAME=@FILE" or "NAME=@FILE;type=TYPE". Throws
/// `UsageError`, also for a file that cannot be read.
corvane::MultipartFormSection formSection(const std::string& text);
