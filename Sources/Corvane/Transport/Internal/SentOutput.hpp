#pragma once

#include "Corvane/Transport/Detail/SendPipeline.hpp"

namespace corvane::detail {

/// Debug output on an exchange whose request interceptors may have changed: shows what was sent in the end, but for the
/// values of fields with credentials. Requires: `sent`.
void printSent(const SendExchange& exchange, const TaskOutcome& received);

}  // namespace corvane::detail
