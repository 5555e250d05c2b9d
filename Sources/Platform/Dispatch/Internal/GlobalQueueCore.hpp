#pragma once

#include "Platform/Dispatch/Internal/QueueCore.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Dispatch/Internal/WorkerPool.hpp"

namespace platform::detail {

/// The concurrent queue: every block is a job of its own for the pool.
class GlobalQueueCore final : public QueueCore, public PoolClient {
 public:
  static GlobalQueueCore& shared();

  void async(Block&& block) override;
  void async(std::vector<Block>&& blocks) override;
  void sync(void* object, void (*call)(void*)) override;
  std::shared_ptr<QueueCore> handle() override;

  const ThreadName& threadName() const override { return threadName_; }
  void work(Block& block) override;

 private:
  GlobalQueueCore();

  const ThreadName threadName_;
};

}  // namespace platform::detail
