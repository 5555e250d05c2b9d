#include "Platform/Loading/Internal/ProgressMeter.hpp"

#include <algorithm>

namespace platform::detail {

const std::shared_ptr<Progress>& ProgressMeter::progress() {
  std::call_once(once_, [this] {
    progress_ = Progress::make();
    isWanted_.store(true, std::memory_order_release);
  });
  return progress_;
}

bool ProgressMeter::count(std::int64_t completed, LoopTime now) {
  completed_ = std::max(completed_, completed);
  if (!isWanted_.load(std::memory_order_acquire)) return false;
  if (now < due()) return true;
  tell(now);
  return false;
}

void ProgressMeter::tell(LoopTime now) {
  if (!isWanted_.load(std::memory_order_acquire)) return;
  told_ = now;
  progress_->updateBytes(completed_, total_);
}

void ProgressMeter::finish(LoopTime now) {
  if (total_ < 0) total_ = completed_;
  tell(now);
}

}  // namespace platform::detail
