#include "Platform/Loading/Internal/ProgressMeter.hpp"

#include <utility>

namespace platform::detail {

std::shared_ptr<Progress> ProgressMeter::progress() {
  const std::lock_guard lock(mutex_);
  if (!progress_) {
    progress_ = Progress::make();
    isWanted_.store(true);
    progress_->updateBytes(completed_.load(), total_.load());
  }
  return progress_;
}

bool ProgressMeter::count(std::int64_t completed, networking::TimePoint now) {
  if (completed > completed_.load(std::memory_order_relaxed)) completed_.store(completed);
  if (!isWanted_.load()) return false;
  if (endsWithLastByte_ && completed_.load() == total_.load()) return false;
  if (now < due()) return true;
  tell(now);
  return false;
}

void ProgressMeter::tell(networking::TimePoint now) {
  if (!isWanted_.load()) return;
  told_ = now;
  progress()->updateBytes(completed_.load(), total_.load());
}

void ProgressMeter::finish() {
  if (std::exchange(isFinished_, true)) return;
  if (total_.load() < 0) total_.store(completed_.load());
  if (isWanted_.load()) progress()->finishBytes(completed_.load(), total_.load());
}

}  // namespace platform::detail
