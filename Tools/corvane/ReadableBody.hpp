#pragma once

#include <Corvane/Corvane.hpp>

#include "TerminalStyle.hpp"
#include "ToolResponse.hpp"

/// The body as a person wants to see it: JSON on lines of its own and in the style, everything else as it came. So is
/// what is said to be JSON but is not. Requires a body.
corvane::Data readableBody(const ToolResponse& response, const TerminalStyle& style);
