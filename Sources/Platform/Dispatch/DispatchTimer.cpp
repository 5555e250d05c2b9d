#include <algorithm>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Dispatch/Internal/Clock.hpp"

namespace platform {

using detail::Clock;

/// The clock calls `tick`, which sends one `deliver` to the queue; both know the timer only weakly.
class DispatchTimer::State : public std::enable_shared_from_this<State> {
 public:
  explicit State(DispatchQueue queue) : queue_(std::move(queue)) {}
  ~State() {
    if (clock_) clock_->cancel(key_);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  void setEventHandler(UniqueFunction<void()> function);
  void setCancelHandler(UniqueFunction<void()> function);
  void schedule(Seconds delay, std::optional<Seconds> repeating, Seconds leeway);
  void resume();
  void suspend();
  void cancel();
  bool isCancelled() const;

 private:
  // Shared, because a handler may be replaced while it runs.
  using Handler = std::shared_ptr<UniqueFunction<void()>>;
  using Lock = detail::MutexLock;

  void arm() CORVANE_REQUIRES(mutex_);
  void disarm() CORVANE_REQUIRES(mutex_);
  void tick(std::uint64_t arming);
  void deliver();
  void sendDelivery();

  const DispatchQueue queue_;
  mutable detail::Mutex mutex_;
  Handler handler_ CORVANE_GUARDED_BY(mutex_);
  Handler cancelHandler_ CORVANE_GUARDED_BY(mutex_);
  std::shared_ptr<Clock> clock_ CORVANE_GUARDED_BY(mutex_);
  Clock::Key key_ CORVANE_GUARDED_BY(mutex_);
  Clock::Instant due_ CORVANE_GUARDED_BY(mutex_){};
  std::chrono::nanoseconds interval_ CORVANE_GUARDED_BY(mutex_){};
  std::chrono::nanoseconds leeway_ CORVANE_GUARDED_BY(mutex_){};
  // Grows whenever the clock's action is set or withdrawn: the clock may be calling an earlier one already.
  std::uint64_t arming_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool isScheduled_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isSuspended_ CORVANE_GUARDED_BY(mutex_) = true;
  bool isCancelled_ CORVANE_GUARDED_BY(mutex_) = false;
  // A tick came due and its handler has not been called yet.
  bool isTickOpen_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isDeliverySent_ CORVANE_GUARDED_BY(mutex_) = false;
};

void DispatchTimer::State::setEventHandler(UniqueFunction<void()> function) {
  auto handler = std::make_shared<UniqueFunction<void()>>(std::move(function));
  const Lock lock(mutex_);
  if (!isCancelled_) handler_.swap(handler);
}

void DispatchTimer::State::setCancelHandler(UniqueFunction<void()> function) {
  auto handler = std::make_shared<UniqueFunction<void()>>(std::move(function));
  const Lock lock(mutex_);
  if (!isCancelled_) cancelHandler_.swap(handler);
}

void DispatchTimer::State::schedule(Seconds delay, std::optional<Seconds> repeating, Seconds leeway) {
  constexpr std::chrono::nanoseconds shortestInterval = std::chrono::milliseconds(1);
  const Lock lock(mutex_);
  if (isCancelled_) return;
  disarm();
  isScheduled_ = false;
  isTickOpen_ = false;
  clock_ = Clock::current();
  due_ = clock_->now() + Clock::nanoseconds(delay);
  interval_ = repeating ? std::max(Clock::nanoseconds(*repeating), shortestInterval) : std::chrono::nanoseconds(0);
  leeway_ = Clock::nanoseconds(leeway);
  if (!isSuspended_) arm();
  isScheduled_ = true;  // one that cannot be armed is not scheduled
}

void DispatchTimer::State::resume() {
  Lock lock(mutex_);
  if (isCancelled_ || !isSuspended_) return;
  if (isScheduled_) arm();
  isSuspended_ = false;
  if (!isTickOpen_ || std::exchange(isDeliverySent_, true)) return;
  lock.unlock();
  sendDelivery();
}

void DispatchTimer::State::suspend() {
  const Lock lock(mutex_);
  if (std::exchange(isSuspended_, true)) return;
  disarm();
}

void DispatchTimer::State::cancel() {
  Handler dropped;
  Handler last;
  {
    const Lock lock(mutex_);
    if (std::exchange(isCancelled_, true)) return;
    disarm();
    dropped.swap(handler_);
    last.swap(cancelHandler_);
  }
  if (last && *last) queue_.async([last = std::move(last)] { (*last)(); });
}

bool DispatchTimer::State::isCancelled() const {
  const Lock lock(mutex_);
  return isCancelled_;
}

void DispatchTimer::State::arm() {
  key_ = clock_->schedule(due_, leeway_, [weak = weak_from_this(), arming = ++arming_] {
    if (const auto self = weak.lock()) self->tick(arming);
  });
}

void DispatchTimer::State::disarm() {
  ++arming_;
  if (isScheduled_ && clock_) clock_->cancel(key_);
}

void DispatchTimer::State::tick(std::uint64_t arming) {
  Lock lock(mutex_);
  if (arming != arming_) return;
  isScheduled_ = interval_ != std::chrono::nanoseconds(0);
  if (isScheduled_) {
    const auto late = clock_->now() - due_;
    due_ += interval_ * (1 + std::max<std::int64_t>(late / interval_, 0));
    arm();
  }
  isTickOpen_ = true;
  if (std::exchange(isDeliverySent_, true)) return;
  lock.unlock();
  sendDelivery();
}

/// For the caller that has set `isDeliverySent_`, so that one is under way at most.
void DispatchTimer::State::sendDelivery() {
  try {
    queue_.async([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->deliver();
    });
  } catch (...) {
    const Lock lock(mutex_);
    isDeliverySent_ = false;
    throw;
  }
}

/// A timer that was suspended meanwhile keeps the tick open until it is resumed.
void DispatchTimer::State::deliver() {
  Lock lock(mutex_);
  isDeliverySent_ = false;
  if (isCancelled_ || isSuspended_ || !std::exchange(isTickOpen_, false)) return;
  const auto handler = handler_;
  lock.unlock();
  if (handler && *handler) (*handler)();
}

DispatchTimer::DispatchTimer(DispatchQueue queue) : state_(std::make_shared<State>(std::move(queue))) {}

void DispatchTimer::setEventHandler(UniqueFunction<void()> handler) const {
  state_->setEventHandler(std::move(handler));
}

void DispatchTimer::setCancelHandler(UniqueFunction<void()> handler) const {
  state_->setCancelHandler(std::move(handler));
}

void DispatchTimer::schedule(Seconds delay, std::optional<Seconds> repeating, Seconds leeway) const {
  state_->schedule(delay, repeating, leeway);
}

void DispatchTimer::resume() const { state_->resume(); }

void DispatchTimer::suspend() const { state_->suspend(); }

void DispatchTimer::cancel() const { state_->cancel(); }

bool DispatchTimer::isCancelled() const { return state_->isCancelled(); }

}  // namespace platform
