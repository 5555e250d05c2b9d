#pragma once

#include <memory>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Lets a host's event loop drain the main queue as long as this object exists. The adapters for event loops use it.
/// For a loop of your own, pass an executor: a function that takes a function and calls it once, soon, on the loop's
/// thread.
///
///     const MainQueueAttachment attachment([&loop](Block drain) { loop.post(std::move(drain)); });
///
/// There is one host at a time: creating a second attachment while another one exists traps. Blocks that are pending
/// when it ends stay in the queue until it is drained again.
class CORVANE_API MainQueueAttachment {
 public:
  /// The executor has the same rules as a queue's (`DispatchQueue::Executor`): it is called on any thread, and may drop
  /// its argument when its loop has ended. It is called at once if blocks are pending; if it throws then, nothing is
  /// attached.
  explicit MainQueueAttachment(DispatchQueue::Executor executor);
  ~MainQueueAttachment() { detach(); }
  MainQueueAttachment(const MainQueueAttachment&) = delete;
  MainQueueAttachment& operator=(const MainQueueAttachment&) = delete;

  /// Ends the attachment early. No further drain begins; the executor is not called any more, and no call of it is
  /// running on another thread. Functions that it was given before do nothing when they are called. May be called on
  /// any thread, but not on several at a time, nor with a lock held that the executor takes.
  void detach();

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

}  // namespace platform
