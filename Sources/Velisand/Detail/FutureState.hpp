#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

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
  /// What is kept under a name; null at first.
  std::shared_ptr<void> member(const char* name) const;
  /// Keeps the value unless there is one under the name already; returns the one that is kept.
  std::shared_ptr<void> keepMember(const char* name, std::shared_ptr<void> value);
  void setCompletingQueue(std::optional<platform::DispatchQueue> queue);

  /// Calls what was given to `whenCancelled`, and cancels the future that the task awaits; remembers it for what comes.
  void cancel();
  bool isCancelled() const noexcept { return cancelled_.load(std::memory_order_acquire); }
  /// The block is called by the first `cancel`, at once when that has been. It is dropped at completion.
  void whenCancelled(platform::Block block);
  /// This is the state of a task, which is suspended until the other is completed, and then resumes on the queue.
  void suspend(const platform::DispatchQueue& queue, std::shared_ptr<AnyFutureState> awaited);
  void resume();

 protected:
  /// True for one caller only, who then stores the outcome and publishes it.
  bool claim() noexcept { return !claimed_.exchange(true, std::memory_order_acq_rel); }
  void publish() noexcept;

 private:
  struct Waiters;

  /// Returns what the task awaits.
  std::shared_ptr<AnyFutureState> cancelThis();

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
