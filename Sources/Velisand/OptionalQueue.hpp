#pragma once

#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace velisand {

/// Runs the block later on the queue; an absent queue means the main queue.
CORVANE_API void async(const std::optional<platform::DispatchQueue>& queue, platform::Block block);

/// One process-wide queue that runs its blocks inline, on the thread that submits them. For blocks that are
/// short, hand something on, and throw nothing.
CORVANE_API const platform::DispatchQueue& inlineExecutor();

/// The dispatch queue whose block the caller runs.
///
/// Outside any queue it returns `inlineExecutor()`. So a thread that belongs to no queue may block on a future
/// whose result is delivered to `currentQueue()`, although the main queue is not drained meanwhile.
CORVANE_API std::optional<platform::DispatchQueue> currentQueue();

}  // namespace velisand
