#include "TransferRate.hpp"

#include <algorithm>

void TransferRate::record(double seconds, std::int64_t count) {
  // One sample before the window tells how many there were when it began.
  while (samples_.size() > 1 && samples_[1].seconds <= seconds - windowInSeconds) samples_.pop_front();
  samples_.push_back({seconds, count});
}

double TransferRate::perSecond(double now) const {
  if (samples_.empty()) return 0;
  auto first = samples_.begin();
  while (first + 1 != samples_.end() && (first + 1)->seconds <= now - windowInSeconds) ++first;
  const double seconds = now - first->seconds;
  const auto grown = static_cast<double>(samples_.back().count - first->count);
  return seconds > 0 ? std::max(grown / seconds, 0.0) : 0;
}
