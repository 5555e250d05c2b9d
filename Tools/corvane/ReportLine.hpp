#pragma once

#include <optional>
#include <string>

#include "ExchangeRun.hpp"

/// The facts of an exchange as one JSON object on one line, with a line break behind it. Text that is not UTF-8
/// is shown with U+FFFD in place of what is wrong. `file` is where the body went, if anywhere.
std::string reportLine(const FinishedExchange& exchange, const corvane::URL& requested,
                       const std::optional<std::string>& file);
