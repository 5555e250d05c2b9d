#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Velisand/Result.hpp"

namespace velisand::detail {

/// What the handles of one future share, without its value: who waits, and what is to be called.
class CORVANE_API AnyFutureState : public std::enable_shared_from_this<AnyFutureState> {
 public:
  AnyFutureState();
  virtual ~AnyFutureState();
  AnyFutureState(const AnyFutureState&) = delete;
  AnyFutureState& operator=(const AnyFutureState&) = delete;

  bool isCompleted() const noexcept { return completed_.load(std::memory_order_acquire); }
  void wait();
  bool wait(platform::Seconds limit);
  /// The block may refer to this state: it lives until the block has run.
  void whenCompleted(std::optional<platform::DispatchQueue> queue, platform::Block block);
  /// The same at once, on the thread that completes the future, or on this one if it is completed already; but after
  /// the block that the thread runs by this meanwhile. The block is short, and throws nothing.
  void whenEnded(platform::Block block);
  /// What is kept under a name; null at first.
  std::shared_ptr<void> member(const char* name) const;
  /// Keeps the value unless there is one under the name already; returns the one that is kept.
  std::shared_ptr<void> keepMember(const char* name, std::shared_ptr<void> value);
  void setCompletingQueue(std::optional<platform::DispatchQueue> queue);

  /// Requests the stop, and cancels the future that the task awaits; remembers it for what comes.
  void cancel();
  bool isCancelled() const noexcept { return cancelled_.load(std::memory_order_acquire); }
  /// That of the stop that the first `cancel` requests; one that no stop can come by, once the future is completed.
  std::stop_token stopToken();
  /// This is the state of a task, which is suspended until the other is completed, and then resumes on the queue.
  void suspend(const platform::DispatchQueue& queue, std::shared_ptr<AnyFutureState> awaited);
  void resume();
  /// This is the state of a future that is made of others: who cancels it cancels them, and a block traps when it waits
  /// for this one on a queue that has to complete one of them. Called once, before the state is handed out.
  void makeOf(std::vector<std::weak_ptr<AnyFutureState>> parts);
  /// Cancels the others, and not this one.
  void cancelParts();

 protected:
  /// True for one caller only, who then stores the outcome and publishes it.
  bool claim() noexcept { return !claimed_.exchange(true, std::memory_order_acq_rel); }
  void publish() noexcept;

 private:
  struct Waiters;
  using Parts = std::vector<std::weak_ptr<AnyFutureState>>;
  /// What remains to be cancelled.
  using Others = std::vector<std::shared_ptr<AnyFutureState>>;

  /// Returns what the task awaits, and adds what the future is made of.
  std::shared_ptr<AnyFutureState> cancelThis(Others& others);
  static void cancelEach(std::shared_ptr<AnyFutureState> next, Others& others);
  static void add(const Parts& parts, Others& others);
  /// Traps where the calling block would wait forever: it runs on the serial queue that is to complete this future, or
  /// one that this is made of, at any depth. Those that are completed are over, whatever their queue was.
  void trapIfWaitingForItself() const;
  /// Asks this one alone. Returns what it is made of; null for none, and once it is completed.
  std::shared_ptr<const Parts> trapIfCompletedHere() const;

  std::atomic<bool> claimed_ = false;
  std::atomic<bool> completed_ = false;
  std::atomic<bool> cancelled_ = false;
  const std::unique_ptr<Waiters> waiters_;
};

template <class T>
class FutureState final : public AnyFutureState {
 public:
  bool complete(Result<T> result) {
    if (!claim()) return false;
    result_.emplace(std::move(result));
    publish();
    return true;
  }

  /// Requires: completed.
  const Result<T>& result() const { return *result_; }

 private:
  std::optional<Result<T>> result_;
};

/// The queue of the running block, where there is one, else the global queue.
CORVANE_API platform::DispatchQueue queueToResumeOn();

}  // namespace velisand::detail
