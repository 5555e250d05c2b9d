#pragma once

#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace velisand {

/// Runs the block later on the queue; an absent queue means the main queue.
CORVANE_API void async(const std::optional<platform::DispatchQueue>& queue, platform::Block block);

/// A process-wide queue that runs its blocks inline, on the thread that submits them. For short blocks that only pass
/// work on, and do not throw.
CORVANE_API const platform::DispatchQueue& inlineExecutor();

/// The queue of the block that the caller runs.
///
/// Outside of any queue it returns `inlineExecutor()`. So a thread that does not run a queue's block may block on a
/// future whose result is delivered to `currentQueue()`, although the main queue is not drained meanwhile.
CORVANE_API std::optional<platform::DispatchQueue> currentQueue();

}  // namespace velisand
