#pragma once

#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// Who is told, in one sentence, that queues are probably used in a wrong way, as when nobody drains the main queue.
/// Called on any thread. Null, as at first: the hint is written to standard error.
CORVANE_API void setDispatchHintHandler(void (*handler)(std::string_view hint));

namespace detail {
void giveDispatchHint(std::string_view hint);
}  // namespace detail

}  // namespace platform
