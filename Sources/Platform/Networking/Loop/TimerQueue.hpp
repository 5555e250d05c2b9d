#pragma once

#include <utility>
#include <vector>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Networking/Loop/Timer.hpp"

namespace platform::networking {

/// A binary heap of timers, each at most once. Arming and disarming take logarithmic time, postponing none to speak of.
/// Owns nothing. For one thread.
class TimerQueue {
 public:
  /// Sets the deadline, earlier or later, armed or not.
  void arm(Timer& timer, TimePoint deadline) {
    timer.deadline_ = deadline;
    if (!timer.isArmed()) {
      detail::requiringMemory("a time-out cannot be kept", [&] { slots_.push_back({deadline, &timer}); });
      timer.place_ = slots_.size() - 1;
    }
    const std::size_t place = timer.place_;
    slots_[place].due = deadline;
    sink(rise(place));
  }

  void disarm(Timer& timer) {
    if (!timer.isArmed()) return;
    const std::size_t place = std::exchange(timer.place_, Timer::unarmed);
    const Slot last = slots_.back();
    slots_.pop_back();
    if (last.timer == &timer) return;
    put(place, last);
    sink(rise(place));
  }

  /// A timer whose deadline is `now` or earlier, no longer armed; null when there is none.
  Timer* takeExpired(TimePoint now) {
    while (!slots_.empty() && slots_.front().due <= now) {
      Slot& top = slots_.front();
      if (top.timer->deadline_ <= now) {
        Timer* const expired = top.timer;
        disarm(*expired);
        return expired;
      }
      top.due = top.timer->deadline_;
      sink(0);
    }
    return nullptr;
  }

  /// When to call `takeExpired` next, perhaps too early for a postponed timer and never too late.
  TimePoint nextLook() const { return slots_.empty() ? never : slots_.front().due; }
  std::size_t count() const { return slots_.size(); }

 private:
  /// `due` is when the queue looks at the timer next: its deadline, or an earlier one that it had.
  struct Slot {
    TimePoint due;
    Timer* timer;
  };

  void put(std::size_t place, Slot slot) {
    slots_[place] = slot;
    slot.timer->place_ = place;
  }

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

}  // namespace platform::networking
