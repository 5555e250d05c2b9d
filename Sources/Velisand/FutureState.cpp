#include "Velisand/FutureState.hpp"

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/Dispatch/AssistedWait.hpp"
#include "Platform/Trap.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace velisand::detail {

using platform::AssistedWait;
using platform::Block;
using platform::DispatchQueue;
using platform::Seconds;

struct AnyFutureState::Audience {
  class Seat;
  struct Callback {
    std::optional<DispatchQueue> queue;
    Block block;
  };

  std::mutex mutex;
  std::vector<AssistedWait*> waits;
  std::vector<Callback> callbacks;
  std::optional<DispatchQueue> completingQueue;
  std::vector<Block> cancellers;
  // What the task is suspended for.
  std::shared_ptr<AnyFutureState> awaited;
  std::map<std::string, std::shared_ptr<void>> members;

  void trapIfWaitingForItself() const {
    if (!completingQueue || *completingQueue == DispatchQueue::global() || !completingQueue->isCurrent()) return;
    platform::trap("a block of the queue \"" + completingQueue->label() +
                   "\" waits for a future that is to be completed on that queue; it would wait forever");
  }
};

/// Keeps an `AssistedWait` enlisted for as long as it lives. Leaving takes the mutex under which it is
/// signalled, so whoever signals has let go of it by then.
class AnyFutureState::Audience::Seat {
 public:
  explicit Seat(AnyFutureState& state) : audience_(*state.audience_) {
    const std::lock_guard lock(audience_.mutex);
    if (state.isCompleted()) {
      wait.signal();
    } else {
      audience_.trapIfWaitingForItself();
      audience_.waits.push_back(&wait);
    }
  }
  ~Seat() {
    const std::lock_guard lock(audience_.mutex);
    std::erase(audience_.waits, &wait);
  }
  Seat(const Seat&) = delete;
  Seat& operator=(const Seat&) = delete;

  AssistedWait wait;

 private:
  Audience& audience_;
};

AnyFutureState::AnyFutureState() : audience_(std::make_unique<Audience>()) {}

AnyFutureState::~AnyFutureState() = default;

void AnyFutureState::wait() {
  if (isCompleted()) return;
  Audience::Seat seat(*this);
  seat.wait.wait();
}

bool AnyFutureState::wait(Seconds limit) {
  if (isCompleted()) return true;
  Audience::Seat seat(*this);
  return seat.wait.wait(limit);
}

void AnyFutureState::whenCompleted(std::optional<DispatchQueue> queue, Block block) {
  {
    const std::lock_guard lock(audience_->mutex);
    if (!isCompleted()) {
      audience_->callbacks.push_back({std::move(queue), std::move(block)});
      return;
    }
  }
  async(queue, [self = shared_from_this(), block = std::move(block)]() mutable { block(); });
}

std::shared_ptr<void> AnyFutureState::member(const char* name) const {
  const std::lock_guard lock(audience_->mutex);
  const auto found = audience_->members.find(name);
  return found != audience_->members.end() ? found->second : nullptr;
}

std::shared_ptr<void> AnyFutureState::keepMember(const char* name, std::shared_ptr<void> value) {
  const std::lock_guard lock(audience_->mutex);
  return audience_->members.try_emplace(name, std::move(value)).first->second;
}

void AnyFutureState::setCompletingQueue(std::optional<DispatchQueue> queue) {
  const std::lock_guard lock(audience_->mutex);
  audience_->completingQueue = std::move(queue);
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
    const std::lock_guard lock(audience_->mutex);
    if (isCompleted() || cancelled_.exchange(true)) return nullptr;
    cancellers.swap(audience_->cancellers);
    awaited = audience_->awaited;
  }
  for (auto& canceller : cancellers) canceller();
  return awaited;
}

void AnyFutureState::whenCancelled(Block block) {
  {
    const std::lock_guard lock(audience_->mutex);
    if (isCompleted()) return;
    if (!isCancelled()) {
      audience_->cancellers.push_back(std::move(block));
      return;
    }
  }
  block();
}

void AnyFutureState::suspend(const DispatchQueue& queue, std::shared_ptr<AnyFutureState> awaited) {
  {
    const std::lock_guard lock(audience_->mutex);
    audience_->completingQueue = queue;
    audience_->awaited = awaited;
  }
  if (isCancelled()) awaited->cancel();
}

void AnyFutureState::resume() {
  std::shared_ptr<AnyFutureState> awaited;
  const std::lock_guard lock(audience_->mutex);
  audience_->completingQueue = std::nullopt;
  awaited.swap(audience_->awaited);
}

void AnyFutureState::publish() {
  const auto self = shared_from_this();
  std::vector<Audience::Callback> callbacks;
  std::vector<Block> cancellers;
  {
    const std::lock_guard lock(audience_->mutex);
    completed_.store(true, std::memory_order_release);
    for (auto* wait : audience_->waits) wait->signal();
    callbacks.swap(audience_->callbacks);
    cancellers.swap(audience_->cancellers);
  }
  for (auto& callback : callbacks)
    async(callback.queue, [self, block = std::move(callback.block)]() mutable { block(); });
}

DispatchQueue queueToResumeOn() { return DispatchQueue::current().value_or(DispatchQueue::global()); }

}  // namespace velisand::detail
