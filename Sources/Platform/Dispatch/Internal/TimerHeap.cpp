#include "Platform/Dispatch/Internal/TimerHeap.hpp"

#include <algorithm>

namespace platform::detail {

Clock::Key TimerHeap::add(Clock::Instant due, std::chrono::nanoseconds leeway, Block action) {
  const Clock::Key key{due, ++lastNumber_};
  entries_.emplace(key, Entry{leeway, std::move(action)});
  return key;
}

Block TimerHeap::remove(const Clock::Key& key) {
  auto node = entries_.extract(key);
  return node.empty() ? Block() : std::move(node.mapped().action);
}

Block TimerHeap::takeDue(Clock::Instant now) {
  const auto first = entries_.begin();
  if (first == entries_.end() || first->first.due > now) return {};
  Block action = std::move(first->second.action);
  entries_.erase(first);
  return action;
}

std::optional<Clock::Instant> TimerHeap::nextWakeUp() const {
  std::optional<Clock::Instant> wakeUp;
  for (const auto& [key, entry] : entries_) {
    if (wakeUp && key.due >= *wakeUp) break;
    const auto latest = key.due + entry.leeway;
    wakeUp = wakeUp ? std::min(*wakeUp, latest) : latest;
  }
  return wakeUp;
}

}  // namespace platform::detail
