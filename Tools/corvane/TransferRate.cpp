#include "TransferRate.hpp"

#include <algorithm>

void TransferRate::record(double seconds, std::int64_t bytes) {
  // One sample before the window tells what had moved when it began.
  while (samples_.size() > 1 && samples_[1].seconds <= seconds - windowInSeconds) samples_.pop_front();
  samples_.push_back({seconds, bytes});
}

double TransferRate::bytesPerSecond(double now) const {
  if (samples_.empty()) return 0;
  auto first = samples_.begin();
  while (first + 1 != samples_.end() && (first + 1)->seconds <= now - windowInSeconds) ++first;
  const double seconds = now - first->seconds;
  const auto bytes = static_cast<double>(samples_.back().bytes - first->bytes);
  return seconds > 0 ? std::max(bytes / seconds, 0.0) : 0;
}
