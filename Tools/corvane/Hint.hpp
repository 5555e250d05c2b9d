#pragma once

#include <Corvane/Corvane.hpp>
#include <string>

struct ToolOptions;

/// What the user may try after a failure; empty when there is nothing to say that the error does not.
std::string hintFor(const corvane::Error& error, const ToolOptions& options);
