#include "Velisand/Detail/FutureState.hpp"

#include <map>
#include <string>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Trap.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace velisand::detail {

using platform::Block;
using platform::CooperativeWait;
using platform::DispatchQueue;
using platform::Seconds;
using platform::detail::Mutex;
using platform::detail::MutexLock;

struct AnyFutureState::Waiters {
  class WaiterGuard;
  struct Callback {
    std::optional<DispatchQueue> queue;
    Block block;
  };

  Mutex mutex;
  // A list through the guards themselves: to wait takes no memory.
  WaiterGuard* firstWait CORVANE_GUARDED_BY(mutex) = nullptr;
  std::vector<Callback> callbacks CORVANE_GUARDED_BY(mutex);
  std::optional<DispatchQueue> completingQueue CORVANE_GUARDED_BY(mutex);
  std::vector<Block> cancellers CORVANE_GUARDED_BY(mutex);
  // What the task is suspended for.
  std::shared_ptr<AnyFutureState> awaited CORVANE_GUARDED_BY(mutex);
  std::map<std::string, std::shared_ptr<void>> members CORVANE_GUARDED_BY(mutex);

  void trapIfWaitingForItself() const CORVANE_REQUIRES(mutex) {
    if (!completingQueue || *completingQueue == DispatchQueue::global() || !completingQueue->isCurrent()) return;
    platform::trap("a block of the queue \"" + completingQueue->label() +
                   "\" waits for a future that is to be completed on that queue; it would wait forever");
  }
};

/// Keeps a `CooperativeWait` enlisted for as long as it lives. Leaving takes the mutex under which it is
/// signalled, so the signalling thread does not use it any more by then.
class AnyFutureState::Waiters::WaiterGuard {
 public:
  explicit WaiterGuard(AnyFutureState& state) : waiters_(*state.waiters_) {
    const MutexLock lock(waiters_.mutex);
    if (state.isCompleted()) {
      wait.signal();
    } else {
      waiters_.trapIfWaitingForItself();
      next = waiters_.firstWait;
      waiters_.firstWait = this;
    }
  }
  ~WaiterGuard() {
    const MutexLock lock(waiters_.mutex);
    for (WaiterGuard** link = &waiters_.firstWait; *link; link = &(*link)->next) {
      if (*link != this) continue;
      *link = next;
      break;
    }
  }
  WaiterGuard(const WaiterGuard&) = delete;
  WaiterGuard& operator=(const WaiterGuard&) = delete;

  CooperativeWait wait;
  /// Guarded by the mutex.
  WaiterGuard* next = nullptr;

 private:
  Waiters& waiters_;
};

AnyFutureState::AnyFutureState() : waiters_(std::make_unique<Waiters>()) {}

AnyFutureState::~AnyFutureState() = default;

void AnyFutureState::wait() {
  if (isCompleted()) return;
  Waiters::WaiterGuard guard(*this);
  guard.wait.wait();
}

bool AnyFutureState::wait(Seconds limit) {
  if (isCompleted()) return true;
  Waiters::WaiterGuard guard(*this);
  return guard.wait.wait(limit);
}

void AnyFutureState::whenCompleted(std::optional<DispatchQueue> queue, Block block) {
  {
    const MutexLock lock(waiters_->mutex);
    if (!isCompleted()) {
      waiters_->callbacks.push_back({std::move(queue), std::move(block)});
      return;
    }
  }
  async(queue, [self = shared_from_this(), block = std::move(block)]() mutable { block(); });
}

std::shared_ptr<void> AnyFutureState::member(const char* name) const {
  const MutexLock lock(waiters_->mutex);
  const auto found = waiters_->members.find(name);
  return found != waiters_->members.end() ? found->second : nullptr;
}

std::shared_ptr<void> AnyFutureState::keepMember(const char* name, std::shared_ptr<void> value) {
  const MutexLock lock(waiters_->mutex);
  return waiters_->members.try_emplace(name, std::move(value)).first->second;
}

void AnyFutureState::setCompletingQueue(std::optional<DispatchQueue> queue) {
  const MutexLock lock(waiters_->mutex);
  waiters_->completingQueue = std::move(queue);
}

// Not by recursion: tasks that await tasks may be many.
void AnyFutureState::cancel() {
  auto awaited = cancelThis();
  while (awaited) awaited = awaited->cancelThis();
}

std::shared_ptr<AnyFutureState> AnyFutureState::cancelThis() {
  std::vector<Block> cancellers;
  std::shared_ptr<AnyFutureState> awaited;
  {
    const MutexLock lock(waiters_->mutex);
    if (isCompleted() || cancelled_.exchange(true)) return nullptr;
    cancellers.swap(waiters_->cancellers);
    awaited = waiters_->awaited;
  }
  for (auto& canceller : cancellers) canceller();
  return awaited;
}

void AnyFutureState::whenCancelled(Block block) {
  {
    const MutexLock lock(waiters_->mutex);
    if (isCompleted()) return;
    if (!isCancelled()) {
      waiters_->cancellers.push_back(std::move(block));
      return;
    }
  }
  block();
}

void AnyFutureState::suspend(const DispatchQueue& queue, std::shared_ptr<AnyFutureState> awaited) {
  {
    const MutexLock lock(waiters_->mutex);
    waiters_->completingQueue = queue;
    waiters_->awaited = awaited;
  }
  if (isCancelled()) awaited->cancel();
}

void AnyFutureState::resume() {
  std::shared_ptr<AnyFutureState> awaited;
  const MutexLock lock(waiters_->mutex);
  waiters_->completingQueue = std::nullopt;
  awaited.swap(waiters_->awaited);
}

void AnyFutureState::publish() noexcept {
  const auto self = shared_from_this();
  std::vector<Waiters::Callback> callbacks;
  std::vector<Block> cancellers;
  {
    const MutexLock lock(waiters_->mutex);
    completed_.store(true, std::memory_order_release);
    for (auto* each = waiters_->firstWait; each; each = each->next) each->wait.signal();
    callbacks.swap(waiters_->callbacks);
    cancellers.swap(waiters_->cancellers);
  }
  // The outcome is there: it is too late to fail.
  platform::detail::requiringMemory("the callbacks of a future cannot be called", [&] {
    for (auto& callback : callbacks)
      async(callback.queue, [self, block = std::move(callback.block)]() mutable { block(); });
  });
}

DispatchQueue queueToResumeOn() { return DispatchQueue::current().value_or(DispatchQueue::global()); }

}  // namespace velisand::detail
