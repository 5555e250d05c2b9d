#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace platform::detail {

/// Nanoseconds of one monotonic clock.
using MonotonicTime = std::int64_t;

class DeadlineHeap;

/// Base of what has a deadline. It stays where it is in memory while it is armed.
class DeadlineEntry {
 public:
  static constexpr MonotonicTime never = std::numeric_limits<MonotonicTime>::max();

  DeadlineEntry() = default;
  DeadlineEntry(const DeadlineEntry&) = delete;
  DeadlineEntry& operator=(const DeadlineEntry&) = delete;

  /// Moves the deadline later with one plain store, as each sign of life of an idle time-out does: the
  /// queue looks at it again when the old deadline passes. Requires: `deadline` is not earlier than it was.
  void postpone(MonotonicTime deadline) { deadline_ = deadline; }
  MonotonicTime deadline() const { return deadline_; }
  bool isArmed() const { return place_ != nowhere; }

 private:
  friend class DeadlineHeap;
  static constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

  MonotonicTime deadline_ = never;
  std::size_t place_ = nowhere;
};

/// A binary heap of deadlines: `DeadlineQueue` without the type of its entries.
class DeadlineHeap {
 public:
  void arm(DeadlineEntry& entry, MonotonicTime deadline) {
    entry.deadline_ = deadline;
    if (!entry.isArmed()) {
      entry.place_ = slots_.size();
      slots_.push_back({deadline, &entry});
    }
    const std::size_t place = entry.place_;
    slots_[place].due = deadline;
    settle(place);
  }

  void disarm(DeadlineEntry& entry) {
    if (!entry.isArmed()) return;
    const std::size_t place = std::exchange(entry.place_, DeadlineEntry::nowhere);
    const Slot last = slots_.back();
    slots_.pop_back();
    if (last.entry == &entry) return;
    put(place, last);
    settle(place);
  }

  DeadlineEntry* takeExpired(MonotonicTime now) {
    while (!slots_.empty() && slots_.front().due <= now) {
      Slot& top = slots_.front();
      if (top.entry->deadline_ <= now) {
        DeadlineEntry* expired = top.entry;
        disarm(*expired);
        return expired;
      }
      top.due = top.entry->deadline_;
      sink(0);
    }
    return nullptr;
  }

  MonotonicTime nextLook() const { return slots_.empty() ? DeadlineEntry::never : slots_.front().due; }
  std::size_t count() const { return slots_.size(); }

 private:
  // `due` is when the queue looks at the entry next: its deadline, or an earlier one it had.
  struct Slot {
    MonotonicTime due;
    DeadlineEntry* entry;
  };

  void put(std::size_t place, Slot slot) {
    slots_[place] = slot;
    slot.entry->place_ = place;
  }

  void settle(std::size_t place) { sink(rise(place)); }

  std::size_t rise(std::size_t place) {
    const Slot moving = slots_[place];
    while (place > 0 && moving.due < slots_[(place - 1) / 2].due) {
      put(place, slots_[(place - 1) / 2]);
      place = (place - 1) / 2;
    }
    put(place, moving);
    return place;
  }

  void sink(std::size_t place) {
    const Slot moving = slots_[place];
    for (std::size_t child = 2 * place + 1; child < slots_.size(); child = 2 * place + 1) {
      if (child + 1 < slots_.size() && slots_[child + 1].due < slots_[child].due) ++child;
      if (moving.due <= slots_[child].due) break;
      put(place, slots_[child]);
      place = child;
    }
    put(place, moving);
  }

  std::vector<Slot> slots_;
};

/// The deadlines of many `T`, each at most once. Arming and disarming take logarithmic time, postponing
/// none to speak of. For one thread; owns nothing.
template <std::derived_from<DeadlineEntry> T>
class DeadlineQueue {
 public:
  /// Sets the deadline, earlier or later, armed or not.
  void arm(T& entry, MonotonicTime deadline) { heap_.arm(entry, deadline); }
  void disarm(T& entry) { heap_.disarm(entry); }
  /// An entry whose deadline is `now` or earlier, no longer armed; null when there is none. Call until null.
  T* takeExpired(MonotonicTime now) { return static_cast<T*>(heap_.takeExpired(now)); }
  /// When to call `takeExpired` next, perhaps too early for a postponed deadline and never too late;
  /// `DeadlineEntry::never` when nothing is armed.
  MonotonicTime nextLook() const { return heap_.nextLook(); }
  std::size_t count() const { return heap_.count(); }

 private:
  DeadlineHeap heap_;
};

}  // namespace platform::detail
