#include <algorithm>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Dispatch/Internal/PressureStall.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"

namespace platform {

class DispatchMemoryPressureSource::State : public std::enable_shared_from_this<State> {
 public:
  State(DispatchQueue queue, std::initializer_list<MemoryPressure> events)
      : queue_(std::move(queue)), events_(events) {}

  void setEventHandler(UniqueFunction<void(MemoryPressure)> function);
  void activate();
  void cancel();
  static void notifyAll(MemoryPressure pressure);

 private:
  class Registry;
  using Handler = std::shared_ptr<UniqueFunction<void(MemoryPressure)>>;

  void send(MemoryPressure pressure);
  void deliver(MemoryPressure pressure);

  const DispatchQueue queue_;
  const std::vector<MemoryPressure> events_;
  detail::Mutex mutex_;
  Handler handler_ CORVANE_GUARDED_BY(mutex_);
  bool isActive_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isCancelled_ CORVANE_GUARDED_BY(mutex_) = false;
};

/// All sources that were activated.
class DispatchMemoryPressureSource::State::Registry {
 public:
  static Registry& shared() {
    static auto& registry = *new Registry;
    return registry;
  }

  void add(std::weak_ptr<State> source) {
    const detail::MutexLock lock(mutex_);
    std::erase_if(sources_, [](const auto& known) { return known.expired(); });
    sources_.push_back(std::move(source));
    if (!std::exchange(isWatching_, true)) watchKernel();
  }

  std::vector<std::shared_ptr<State>> living() {
    std::vector<std::shared_ptr<State>> found;
    const detail::MutexLock lock(mutex_);
    for (const auto& source : sources_) {
      if (auto living = source.lock()) found.push_back(std::move(living));
    }
    return found;
  }

 private:
  static constexpr std::chrono::seconds calm{10};

  /// Without triggers, or without a thread, only the host's own notifications are left, as documented.
  static void watchKernel() {
    const auto triggers = detail::PressureTriggers::open();
    if (triggers.isEmpty()) return;
    const bool started =
        detail::startThread("corvane-memory", [triggers] { detail::watchPressure(triggers, calm, &State::notifyAll); });
    if (!started) triggers.close();
  }

  detail::Mutex mutex_;
  std::vector<std::weak_ptr<State>> sources_ CORVANE_GUARDED_BY(mutex_);
  bool isWatching_ CORVANE_GUARDED_BY(mutex_) = false;
};

void DispatchMemoryPressureSource::State::setEventHandler(UniqueFunction<void(MemoryPressure)> function) {
  auto handler = std::make_shared<UniqueFunction<void(MemoryPressure)>>(std::move(function));
  const detail::MutexLock lock(mutex_);
  if (!isCancelled_) handler_.swap(handler);
}

void DispatchMemoryPressureSource::State::activate() {
  {
    const detail::MutexLock lock(mutex_);
    if (isCancelled_ || std::exchange(isActive_, true)) return;
  }
  Registry::shared().add(weak_from_this());
}

void DispatchMemoryPressureSource::State::cancel() {
  Handler dropped;
  const detail::MutexLock lock(mutex_);
  isCancelled_ = true;
  dropped.swap(handler_);
}

void DispatchMemoryPressureSource::State::notifyAll(MemoryPressure pressure) {
  for (const auto& source : Registry::shared().living()) source->send(pressure);
}

void DispatchMemoryPressureSource::State::send(MemoryPressure pressure) {
  if (std::ranges::find(events_, pressure) == events_.end()) return;
  queue_.async([weak = weak_from_this(), pressure] {
    if (const auto self = weak.lock()) self->deliver(pressure);
  });
}

void DispatchMemoryPressureSource::State::deliver(MemoryPressure pressure) {
  detail::MutexLock lock(mutex_);
  const auto handler = handler_;
  lock.unlock();
  if (handler && *handler) (*handler)(pressure);
}

DispatchMemoryPressureSource::DispatchMemoryPressureSource(DispatchQueue queue,
                                                           std::initializer_list<MemoryPressure> events)
    : state_(std::make_shared<State>(std::move(queue), events)) {}

void DispatchMemoryPressureSource::setEventHandler(UniqueFunction<void(MemoryPressure)> handler) const {
  state_->setEventHandler(std::move(handler));
}

void DispatchMemoryPressureSource::activate() const { state_->activate(); }

void DispatchMemoryPressureSource::cancel() const { state_->cancel(); }

void DispatchMemoryPressureSource::notify(MemoryPressure pressure) { State::notifyAll(pressure); }

}  // namespace platform
