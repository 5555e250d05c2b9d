#pragma once

#include <memory>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Has the main queue drained by a host's event loop for as long as it lives. The adapters for event loops
/// are made of it; for a loop of your own it takes an executor: what calls a function once, soon, on the loop's thread.
///
///     const MainQueueAttachment attachment([&loop](Block drain) { loop.post(std::move(drain)); });
///
/// There is one host at a time: making a second attachment while another one lives traps. Blocks that wait when it ends
/// stay in the queue, for the next who drains it.
class CORVANE_API MainQueueAttachment {
 public:
  /// The executor as for a queue: it is called from any thread, and may drop what it was given when it has ended. It
  /// is called at once where blocks wait; what it throws then leaves nothing attached.
  explicit MainQueueAttachment(DispatchQueue::Executor executor);
  ~MainQueueAttachment() { detach(); }
  MainQueueAttachment(const MainQueueAttachment&) = delete;
  MainQueueAttachment& operator=(const MainQueueAttachment&) = delete;

  /// Ends the attachment early: no further drain begins, and the executor is not called any more, nor still at it on
  /// another thread. What it was given before does nothing when it is called. Any thread; not from several at a time,
  /// nor with a lock held that the executor takes.
  void detach();

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

}  // namespace platform
