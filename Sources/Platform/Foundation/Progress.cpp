#include "Platform/Foundation/Progress.hpp"

#include <algorithm>
#include <atomic>
#include <map>
#include <utility>
#include <vector>

#include "Platform/Detail/Locking.hpp"

namespace platform {

struct ProgressObservation::Observer {
  std::atomic<bool> isValid = true;
  Progress::Observer call;
};

ProgressObservation& ProgressObservation::operator=(ProgressObservation&& other) noexcept {
  if (this != &other) {
    invalidate();
    observer_ = std::move(other.observer_);
  }
  return *this;
}

void ProgressObservation::invalidate() noexcept {
  if (!observer_) return;
  observer_->isValid.store(false, std::memory_order_release);
  observer_.reset();
}

/// What an observer captures goes with its observation or with the progress, whichever is later.
struct Progress::State {
  mutable detail::Mutex mutex;
  std::int64_t completed CORVANE_GUARDED_BY(mutex) = 0;
  std::int64_t total CORVANE_GUARDED_BY(mutex) = unknownCount;
  std::map<std::string, AnyValue, std::less<>> userInfo CORVANE_GUARDED_BY(mutex);
  std::vector<std::shared_ptr<ProgressObservation::Observer>> observers CORVANE_GUARDED_BY(mutex);

  bool set(std::int64_t newCompleted, std::int64_t newTotal) CORVANE_REQUIRES(mutex) {
    const bool changes = completed != newCompleted || total != newTotal;
    completed = newCompleted;
    total = newTotal;
    return changes;
  }
  void dropInvalidObservers() CORVANE_REQUIRES(mutex) {
    std::erase_if(observers, [](const auto& observer) { return !observer->isValid.load(std::memory_order_acquire); });
  }
};

std::shared_ptr<Progress> Progress::make() {
  std::shared_ptr<Progress> progress(new Progress());
  progress->self_ = progress;
  return progress;
}

Progress::Progress() : state_(std::make_unique<State>()) {}

Progress::~Progress() = default;

std::int64_t Progress::completedUnitCount() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->completed;
}

std::int64_t Progress::totalUnitCount() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->total;
}

double Progress::fractionCompleted() const {
  const detail::MutexLock lock(state_->mutex);
  if (state_->total < 0) return 0;
  if (state_->completed >= state_->total) return 1;
  return static_cast<double>(std::max<std::int64_t>(state_->completed, 0)) / static_cast<double>(state_->total);
}

std::optional<AnyValue> Progress::userInfo(std::string_view key) const {
  const detail::MutexLock lock(state_->mutex);
  const auto found = state_->userInfo.find(key);
  return found != state_->userInfo.end() ? std::optional(found->second) : std::nullopt;
}

void Progress::setUserInfo(std::string_view key, AnyValue value) {
  const detail::MutexLock lock(state_->mutex);
  state_->userInfo.insert_or_assign(std::string(key), std::move(value));
}

void Progress::update(std::int64_t completedUnits, std::int64_t totalUnits) {
  {
    const detail::MutexLock lock(state_->mutex);
    if (!state_->set(completedUnits, std::max(totalUnits, unknownCount))) return;
  }
  tell();
}

void Progress::updateBytes(std::int64_t completedBytes, std::int64_t totalBytes) {
  if (setBytes(completedBytes, totalBytes)) tell();
}

void Progress::finishBytes(std::int64_t completedBytes, std::int64_t totalBytes) {
  setBytes(completedBytes, totalBytes);
  tell();
}

bool Progress::setBytes(std::int64_t completedBytes, std::int64_t totalBytes) {
  const detail::MutexLock lock(state_->mutex);
  const bool changes = state_->set(completedBytes, std::max(totalBytes, unknownCount));
  state_->userInfo.insert_or_assign(ProgressKey::byteCompletedCount, completedBytes);
  if (totalBytes >= 0) {
    state_->userInfo.insert_or_assign(ProgressKey::byteTotalCount, totalBytes);
  } else {
    state_->userInfo.erase(ProgressKey::byteTotalCount);
  }
  return changes;
}

ProgressObservation Progress::observe(Observer observer) {
  auto made = std::make_shared<ProgressObservation::Observer>();
  made->call = std::move(observer);
  const detail::MutexLock lock(state_->mutex);
  state_->dropInvalidObservers();
  state_->observers.push_back(made);
  return ProgressObservation(std::move(made));
}

bool Progress::isObserved() const {
  const detail::MutexLock lock(state_->mutex);
  state_->dropInvalidObservers();
  return !state_->observers.empty();
}

void Progress::tell() {
  std::vector<std::shared_ptr<ProgressObservation::Observer>> observers;
  {
    const detail::MutexLock lock(state_->mutex);
    state_->dropInvalidObservers();
    observers = state_->observers;
  }
  const std::shared_ptr<Progress> self = self_.lock();
  for (const auto& observer : observers) {
    if (observer->isValid.load(std::memory_order_acquire)) observer->call(self);
  }
}

}  // namespace platform
