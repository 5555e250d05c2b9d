#pragma once

#include <string>
#include <string_view>

namespace corvane::detail {

/// The list of a "tracestate" without its empty members and the spaces around the others (W3C Trace Context, 3.3.1).
/// Empty when it breaks the rules: more than 32 members, a key twice, or characters that keys or values may not have.
std::string validTraceState(std::string_view list);

}  // namespace corvane::detail
