#include "Velisand/Detail/FutureState.hpp"

#include <deque>
#include <map>
#include <new>
#include <string>
#include <unordered_set>
#include <utility>
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

namespace {

/// Not by recursion: futures that are made of others may be many.
void callInTurn(Block block) {
  thread_local std::deque<Block>* waiting = nullptr;
  if (waiting) {
    waiting->push_back(std::move(block));
    return;
  }
  std::deque<Block> blocks;
  blocks.push_back(std::move(block));
  waiting = &blocks;
  platform::detail::requiringMemory("what awaits several futures cannot be completed", [&] {
    while (!blocks.empty()) {
      Block next = std::move(blocks.front());
      blocks.pop_front();
      next();
    }
  });
  waiting = nullptr;
}

}  // namespace

struct AnyFutureState::Waiters {
  class WaiterGuard;
  struct Callback {
    std::optional<DispatchQueue> queue;
    Block block;
    bool isCalledAtOnce = false;
  };

  Mutex mutex;
  // A list through the guards themselves: to wait takes no memory.
  WaiterGuard* firstWait CORVANE_GUARDED_BY(mutex) = nullptr;
  std::vector<Callback> callbacks CORVANE_GUARDED_BY(mutex);
  std::optional<DispatchQueue> completingQueue CORVANE_GUARDED_BY(mutex);
  // Made when it is asked for first.
  std::stop_source stop CORVANE_GUARDED_BY(mutex){std::nostopstate};
  // What the task is suspended for.
  std::shared_ptr<AnyFutureState> awaited CORVANE_GUARDED_BY(mutex);
  // What the future is made of, until it is completed. Not kept alive: they keep what completes this one.
  std::shared_ptr<const Parts> parts CORVANE_GUARDED_BY(mutex);
  // The same, until they are cancelled.
  std::shared_ptr<const Parts> partsToCancel CORVANE_GUARDED_BY(mutex);
  std::map<std::string, std::shared_ptr<void>> members CORVANE_GUARDED_BY(mutex);

  void trapOnCompletingQueue() const CORVANE_REQUIRES(mutex) {
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
    state.trapIfWaitingForItself();
    const MutexLock lock(waiters_.mutex);
    if (state.isCompleted()) {
      wait.signal();
    } else {
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

void AnyFutureState::whenEnded(Block block) {
  {
    const MutexLock lock(waiters_->mutex);
    if (!isCompleted()) {
      waiters_->callbacks.push_back({std::nullopt, std::move(block), true});
      return;
    }
  }
  callInTurn([self = shared_from_this(), block = std::move(block)]() mutable { block(); });
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

// Not by recursion, nor by stops that request each other's: tasks that await tasks may be many.
void AnyFutureState::cancel() {
  Others others;
  auto awaited = cancelThis(others);
  cancelEach(std::move(awaited), others);
}

void AnyFutureState::cancelEach(std::shared_ptr<AnyFutureState> next, Others& others) {
  while (true) {
    while (next) next = next->cancelThis(others);
    if (others.empty()) return;
    next = std::move(others.back());
    others.pop_back();
  }
}

std::shared_ptr<AnyFutureState> AnyFutureState::cancelThis(Others& others) {
  std::stop_source stop(std::nostopstate);
  std::shared_ptr<AnyFutureState> awaited;
  std::shared_ptr<const Parts> parts;
  {
    const MutexLock lock(waiters_->mutex);
    if (isCompleted() || cancelled_.exchange(true)) return nullptr;
    stop = waiters_->stop;
    awaited = waiters_->awaited;
    parts.swap(waiters_->partsToCancel);
  }
  stop.request_stop();
  if (parts) add(*parts, others);
  return awaited;
}

void AnyFutureState::makeOf(Parts parts) {
  auto shared = std::make_shared<const Parts>(std::move(parts));
  const MutexLock lock(waiters_->mutex);
  waiters_->partsToCancel = shared;
  waiters_->parts = std::move(shared);
}

void AnyFutureState::cancelParts() {
  std::shared_ptr<const Parts> parts;
  {
    const MutexLock lock(waiters_->mutex);
    parts.swap(waiters_->partsToCancel);
  }
  if (!parts) return;
  Others others;
  add(*parts, others);
  cancelEach(nullptr, others);
}

// From the last on, as the last that is added is cancelled first.
void AnyFutureState::add(const Parts& parts, Others& others) {
  platform::detail::requiringMemory("what a future is made of cannot be cancelled", [&] {
    for (auto each = parts.rbegin(); each != parts.rend(); ++each)
      if (auto part = each->lock()) others.push_back(std::move(part));
  });
}

std::shared_ptr<const AnyFutureState::Parts> AnyFutureState::trapIfCompletedHere() const {
  const MutexLock lock(waiters_->mutex);
  if (isCompleted()) return nullptr;
  waiters_->trapOnCompletingQueue();
  return waiters_->parts;
}

// Asked when a wait begins, outside of the mutex, and each once: a future may be part of several.
void AnyFutureState::trapIfWaitingForItself() const {
  auto parts = trapIfCompletedHere();
  if (!parts || !DispatchQueue::current()) return;
  try {
    std::vector<std::shared_ptr<const Parts>> lists{std::move(parts)};
    std::unordered_set<const Parts*> asked{lists.back().get()};
    while (!lists.empty()) {
      const auto list = std::move(lists.back());
      lists.pop_back();
      for (const auto& each : *list) {
        const auto part = each.lock();
        auto more = part ? part->trapIfCompletedHere() : nullptr;
        if (more && asked.insert(more.get()).second) lists.push_back(std::move(more));
      }
    }
  } catch (const std::bad_alloc&) {
    // It finds a mistake of the program, and what waits needs no memory: the wait begins without it.
  }
}

std::stop_token AnyFutureState::stopToken() {
  const MutexLock lock(waiters_->mutex);
  if (isCompleted()) return {};
  if (!waiters_->stop.stop_possible()) {
    waiters_->stop = std::stop_source();
    if (isCancelled()) waiters_->stop.request_stop();
  }
  return waiters_->stop.get_token();
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
  std::shared_ptr<const Parts> parts, partsToCancel;
  {
    const MutexLock lock(waiters_->mutex);
    parts.swap(waiters_->parts);
    partsToCancel.swap(waiters_->partsToCancel);
    completed_.store(true, std::memory_order_release);
    for (auto* each = waiters_->firstWait; each; each = each->next) each->wait.signal();
    callbacks.swap(waiters_->callbacks);
  }
  // The outcome is there: it is too late to fail.
  platform::detail::requiringMemory("the callbacks of a future cannot be called", [&] {
    for (auto& callback : callbacks) {
      Block block = [self, block = std::move(callback.block)]() mutable { block(); };
      callback.isCalledAtOnce ? callInTurn(std::move(block)) : async(callback.queue, std::move(block));
    }
  });
}

DispatchQueue queueToResumeOn() { return DispatchQueue::current().value_or(DispatchQueue::global()); }

}  // namespace velisand::detail
