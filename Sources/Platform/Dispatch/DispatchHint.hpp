#pragma once

#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// Sets the function that receives hints about a probable misuse of queues, one sentence each, for example that no
/// thread drains the main queue. It is called on any thread. Null, the default: hints are written to standard error.
CORVANE_API void setDispatchHintHandler(void (*handler)(std::string_view hint));

namespace detail {
void giveDispatchHint(std::string_view hint);
}  // namespace detail

}  // namespace platform
