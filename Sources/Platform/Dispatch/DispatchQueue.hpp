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

/// A handle to a queue of work. Copies name the same queue; a queue lives until its last handle is gone and
/// its work is done. All operations may be called from any thread.
///
/// A *serial* queue runs one block at a time, in the order in which they were submitted, on a worker thread
/// of the process-wide pool. The *global* queue runs blocks concurrently. The *main* queue is serial and is
/// drained by the application: `run`, `runOnce`, `runUntil`, or a host event loop (`attachToHost`).
/// An exception that escapes a block ends the process with a message that names the queue.
class CORVANE_API DispatchQueue {
 public:
  /// Submits a drain: the executor must call its argument once, soon, on any thread of its choice, at once
  /// on the calling thread included. It is called from any thread, from several at a time, and without a
  /// lock held; an exception that it throws ends the process. An executor that has ended may destroy its
  /// argument instead: what waits on the queue is then dropped without having been run, and a `sync` that waits there
  /// throws.
  using Executor = UniqueFunction<void(Block drain)>;

  /// A new serial queue. The label shows in `label()` and, while its blocks run, in the thread's name.
  explicit DispatchQueue(std::string label);
  /// A serial queue that runs on someone else's executor (an event loop, a thread pool).
  DispatchQueue(std::string label, Executor executor);

  /// The queue that the application drains.
  static DispatchQueue main();
  /// The concurrent queue of default quality of service.
  static DispatchQueue global();
  /// The queue whose block the calling thread runs (the innermost one), or absent.
  static std::optional<DispatchQueue> current();
  /// Whether the calling thread is inside a block of this queue, at any depth.
  bool isCurrent() const;

  /// The text that the queue was made with; "corvane.main" and "corvane.global" for those two.
  const std::string& label() const;

  /// Runs the block later; returns at once. Throws `std::bad_alloc` when there is no room for it: it is dropped then,
  /// and not run.
  void async(Block block) const;
  /// Submits many blocks with one lock and at most one wake-up: all of them or, when it throws, none.
  void async(std::vector<Block> blocks) const;
  /// Runs the block after a delay, not earlier. A negative or zero delay is `async`.
  void asyncAfter(Seconds delay, Block block) const;

  /// Runs the function on this queue, after all blocks submitted before, and returns its result. Exceptions
  /// reach the caller. Traps when the caller is already inside a block of this queue, since it would wait for
  /// itself (not so on the global queue, where the function just runs).
  ///
  /// On a serial queue the function always runs on the caller's thread, holding the queue: an idle queue
  /// costs no change of threads. The main queue and an executor's queue run it where they run all their
  /// blocks, while the caller waits; so never call it on the very thread that has to drain them. Throws
  /// `std::runtime_error` when an executor has ended and drops the call.
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
  /// Runs what is queued now, without waiting; returns how many blocks ran. None, when another drain is
  /// under way, on another thread or further up on this one: that one goes on.
  std::size_t runOnce() const;
  /// Drains until the predicate holds; it is asked before the first and after every block. Returns false when
  /// the time-out passed first. Traps inside a block of the main queue.
  template <class Predicate>
  bool runUntil(Predicate&& done, Seconds timeout = 60) const {
    auto ask = [&] { return static_cast<bool>(done()); };
    return runUntilErased(&ask, [](void* object) { return (*static_cast<decltype(ask)*>(object))(); }, timeout);
  }
  /// Makes the running `run` return after the block at hand; without one, the next `run` returns at once.
  void stop() const;
  /// Hands the main queue to the host's event loop: `schedule` is called, on any thread, whenever work
  /// arrives on a queue that was empty, or a drain ends with work left (and now, when there is work already); the
  /// host then calls `runOnce()` on its main thread. An empty function detaches. See also `MainQueueAttachment`.
  void attachToHost(UniqueFunction<void()> schedule) const;

  friend bool operator==(const DispatchQueue& left, const DispatchQueue& right) { return left.core_ == right.core_; }

  explicit DispatchQueue(std::shared_ptr<detail::QueueCore> core) : core_(std::move(core)) {}
  /// What copies share. For adapters and tests.
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
