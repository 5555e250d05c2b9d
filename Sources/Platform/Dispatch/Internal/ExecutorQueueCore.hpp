#pragma once

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/QueueCore.hpp"

namespace platform::detail {

/// A serial queue that asks someone else's executor for a thread whenever it has work.
class ExecutorQueueCore final : public QueueCore, public std::enable_shared_from_this<ExecutorQueueCore> {
 public:
  ExecutorQueueCore(std::string label, DispatchQueue::Executor executor);

  void async(Block&& block) override;
  void async(std::vector<Block>&& blocks) override;
  void sync(void* object, void (*call)(void*)) override { enqueueAndWait(object, call); }
  std::shared_ptr<QueueCore> handle() override { return shared_from_this(); }

 private:
  class Drain;

  void submitDrain() noexcept;
  void drain();
  void abandon();
  bool beginIteration();
  bool hasMore();
  bool mustContinue();

  DispatchQueue::Executor executor_;

  Mutex mutex_;
  std::vector<Block> pending_ CORVANE_GUARDED_BY(mutex_);
  // A drain is with the executor or under way.
  bool isScheduled_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isDraining_ CORVANE_GUARDED_BY(mutex_) = false;
  // A drain came while another one was under way, as from an executor that calls its argument at once.
  bool drainsAgain_ CORVANE_GUARDED_BY(mutex_) = false;
  // Belongs to the drain under way.
  std::vector<Block> batch_;
};

}  // namespace platform::detail
