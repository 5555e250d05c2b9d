#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"

namespace platform::detail {

/// What a `DispatchQueue` is a handle to.
class QueueCore {
 public:
  explicit QueueCore(std::string label) : label_(std::move(label)) {}
  virtual ~QueueCore() = default;
  QueueCore(const QueueCore&) = delete;
  QueueCore& operator=(const QueueCore&) = delete;

  const std::string& label() const { return label_; }

  /// Throws `std::bad_alloc` where there is no room: nothing was submitted then. What follows the submission (a worker,
  /// a host's function) never throws.
  virtual void async(Block&& block) = 0;
  virtual void async(std::vector<Block>&& blocks) = 0;
  /// Returns after `call(object)` ran on the queue; its exception reaches the caller.
  virtual void sync(void* object, void (*call)(void*)) = 0;
  virtual std::shared_ptr<QueueCore> handle() = 0;

  /// Runs the block; an exception that escapes it ends the process.
  void perform(Block& block) const noexcept;
  /// Runs the block and drops it, with all that it captured.
  void performAndDrop(Block& block) const noexcept {
    perform(block);
    block = nullptr;
  }

 protected:
  void trapWhenCurrent() const;
  /// `sync` for queues whose blocks must run on a thread that is not the caller's.
  void enqueueAndWait(void* object, void (*call)(void*));

 private:
  const std::string label_;
};

/// Marks, while it lives, the calling thread as being inside a queue. Frames nest.
class QueueFrame {
 public:
  explicit QueueFrame(QueueCore& queue) : queue_(queue), below_(top_) { top_ = this; }
  ~QueueFrame() { top_ = below_; }
  QueueFrame(const QueueFrame&) = delete;
  QueueFrame& operator=(const QueueFrame&) = delete;

  /// The queue that the calling thread is inside of, the innermost one; null outside of all.
  static QueueCore* current() { return top_ ? &top_->queue_ : nullptr; }
  /// Whether the calling thread is inside this queue, at any depth.
  static bool contains(const QueueCore& queue);

 private:
  static thread_local QueueFrame* top_;

  QueueCore& queue_;
  QueueFrame* below_;
};

}  // namespace platform::detail
