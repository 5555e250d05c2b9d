#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"

namespace platform {

namespace detail {
class QueueCore;
}

/// A handle to a queue of work. Copies refer to the same queue; a queue exists until its last handle is gone and its
/// work is done. All operations may be called from any thread.
///
/// A *serial* queue runs one block at a time, in the order in which they were submitted, on a worker thread
/// of the process-wide pool. The *global* queue runs blocks concurrently. The *main* queue is serial and is
/// drained by the application: `run`, `runOnce`, `runUntil`, or a host event loop (`attachToHost`).
/// An exception that escapes a block ends the process with a message that names the queue.
class CORVANE_API DispatchQueue {
 public:
  /// Runs a drain: the executor must call its argument once, soon, on any thread of its choice; it may also call it at
  /// once on the calling thread. The executor is called on any thread, on several at a time, and without a lock held;
  /// an exception from it ends the process. An executor that has ended may destroy its argument instead: pending blocks
  /// of the queue are then dropped without being run, and a `sync` that waits there throws.
  using Executor = UniqueFunction<void(Block drain)>;

  /// A new serial queue. Its label is `label()` and, while its blocks run, the name of the thread.
  explicit DispatchQueue(std::string label);
  /// A serial queue that runs on an executor of yours (an event loop, a thread pool).
  DispatchQueue(std::string label, Executor executor);

  /// The queue that the application drains.
  static DispatchQueue main();
  /// The concurrent queue of default quality of service.
  static DispatchQueue global();
  /// The queue of the block that the calling thread runs (the innermost block); absent outside of blocks.
  static std::optional<DispatchQueue> current();
  /// Whether the calling thread runs a block of this queue, at any depth.
  bool isCurrent() const;

  /// The label that the queue was made with; "corvane.main" for the main and "corvane.global" for the global queue.
  const std::string& label() const;

  /// Submits the block and returns at once. Throws `std::bad_alloc` when there is no memory: the block is then dropped
  /// and not run.
  void async(Block block) const;
  /// Submits several blocks with one lock and at most one wake-up: all of them or, when it throws, none.
  void async(std::vector<Block> blocks) const;
  /// Submits the block after a delay, never earlier. With a negative or zero delay it is the same as `async`.
  void asyncAfter(Seconds delay, Block block) const;

  /// Runs the function on this queue, after all blocks submitted before, and returns its result. Exceptions reach the
  /// caller. Traps when the caller is inside a block of this queue, since it would wait for itself (on the global queue
  /// the function simply runs).
  ///
  /// On a serial queue the function always runs on the caller's thread, which holds the queue: with an idle queue there
  /// is no change of threads. The main queue and an executor's queue run it where they run all their blocks, while the
  /// caller waits; so never call it on the thread that has to drain them. Throws `std::runtime_error` when an executor
  /// has ended and drops the call.
  template <class F>
  std::invoke_result_t<F&> sync(F&& function) const {
    using Result = std::invoke_result_t<F&>;
    if constexpr (std::is_void_v<Result>) {
      callSync([&] { function(); });
    } else if constexpr (std::is_reference_v<Result>) {
      std::remove_reference_t<Result>* result = nullptr;
      callSync([&] {
        Result&& reference = function();
        result = std::addressof(reference);
      });
      return static_cast<Result>(*result);
    } else {
      std::optional<Result> result;
      callSync([&] { result.emplace(function()); });
      return std::move(*result);
    }
  }

  // The main queue only; each traps on any other queue.

  /// Drains the main queue until `stop()`. Blocks the calling thread. Traps inside a block of the main queue.
  void run() const;
  /// Runs the blocks that are pending now, without waiting. Returns the number of blocks that ran: 0 when another drain
  /// is under way, on another thread or further up on this one.
  std::size_t runOnce() const;
  /// Drains until the predicate holds; it is evaluated before the first block and after every block. Returns false when
  /// the time-out passed first. Traps inside a block of the main queue.
  template <class Predicate>
  bool runUntil(Predicate&& done, Seconds timeout = 60) const {
    auto ask = [&] { return static_cast<bool>(done()); };
    return runUntilErased(&ask, [](void* object) { return (*static_cast<decltype(ask)*>(object))(); }, timeout);
  }
  /// Makes a running `run` return after the current block; if none is running, the next `run` returns at once.
  void stop() const;
  /// Lets the host's event loop drain the main queue: `schedule` is called, on any thread, whenever work arrives on the
  /// empty queue, or a drain ends with work left (and now, if there is work already); the host then calls `runOnce()`
  /// on its main thread. An empty function detaches. See also `MainQueueAttachment`.
  void attachToHost(UniqueFunction<void()> schedule) const;

  friend bool operator==(const DispatchQueue& left, const DispatchQueue& right) { return left.core_ == right.core_; }

  explicit DispatchQueue(std::shared_ptr<detail::QueueCore> core) : core_(std::move(core)) {}
  /// The state that copies share. For adapters and tests.
  const std::shared_ptr<detail::QueueCore>& core() const { return core_; }

 private:
  template <class Call>
  void callSync(Call call) const {
    syncErased(&call, [](void* object) { (*static_cast<Call*>(object))(); });
  }
  void syncErased(void* object, void (*call)(void*)) const;
  bool runUntilErased(void* object, bool (*isDone)(void*), Seconds timeout) const;

  std::shared_ptr<detail::QueueCore> core_;
};

}  // namespace platform

template <>
struct std::hash<platform::DispatchQueue> {
  std::size_t operator()(const platform::DispatchQueue& queue) const noexcept {
    return std::hash<const void*>()(queue.core().get());
  }
};
