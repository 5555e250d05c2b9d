#pragma once

#include <optional>
#include <string>

#include "FinishedExchange.hpp"
#include "ToolOptions.hpp"

/// The facts of an exchange as one JSON object on one line, with a line break after it. Text that is not UTF-8
/// is shown with U+FFFD in place of what is wrong. `file` is where the body went, if anywhere. With several URLs it
/// names the one that was asked for; with retries, the attempts.
std::string reportLine(const FinishedExchange& exchange, const ToolOptions& options,
                       const std::optional<std::string>& file);
