#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <utility>

#include "Platform/Detail/Locking.hpp"

namespace corvane::detail {

/// Stands between an execution context, which may be destroyed at any time, and the library, whose threads come back to
/// it with responses. What is kept of the context (executors, work, handlers) lives in slots, and is touched through
/// the gate only, so that nothing of it is touched once the context is gone. Thread-safe.
class ContextGate {
 public:
  class Slot {
   public:
    Slot() = default;
    virtual ~Slot() = default;
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

   private:
    friend class ContextGate;

    /// The context ends: releases all that belongs to it.
    virtual void shutdown() = 0;

    std::list<std::shared_ptr<Slot>>::iterator position_;
    bool isIn_ = false;
  };

  /// False when the context has ended.
  bool admit(const std::shared_ptr<Slot>& slot) {
    const platform::detail::MutexLock lock(mutex_);
    if (hasEnded_) return false;
    slot->position_ = slots_.insert(slots_.end(), slot);
    slot->isIn_ = true;
    return true;
  }

  /// Calls the function, unless the slot was taken out. The context does not end meanwhile.
  template <class Function>
  bool use(Slot& slot, Function function) {
    if (!enter(slot, false)) return false;
    const Lease lease(*this);
    function();
    return true;
  }
  /// The same for the last time: the slot is taken out, and is not shut down. Of several such calls one is first.
  template <class Function>
  bool takeOut(Slot& slot, Function function) {
    if (!enter(slot, true)) return false;
    const Lease lease(*this);
    function();
    return true;
  }

  /// The context is about to go: waits for the leases, and shuts every slot down.
  void end() {
    std::list<std::shared_ptr<Slot>> ended;
    platform::detail::MutexLock lock(mutex_);
    hasEnded_ = true;
    ended.swap(slots_);
    for (const auto& slot : ended) slot->isIn_ = false;
    isQuiet_.wait(mutex_, [this]() CORVANE_REQUIRES(mutex_) { return leases_ == 0; });
    lock.unlock();
    // Without the lock: what a handler holds may come back here as it goes.
    for (const auto& slot : ended) slot->shutdown();
  }

 private:
  class Lease {
   public:
    explicit Lease(ContextGate& gate) : gate_(gate) {}
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    ~Lease() {
      const platform::detail::MutexLock lock(gate_.mutex_);
      if (--gate_.leases_ == 0 && gate_.hasEnded_) gate_.isQuiet_.notifyAll();
    }

   private:
    ContextGate& gate_;
  };

  bool enter(Slot& slot, bool leaves) {
    // Destroyed without the lock.
    std::shared_ptr<Slot> leaving;
    const platform::detail::MutexLock lock(mutex_);
    if (!slot.isIn_) return false;
    if (leaves) {
      slot.isIn_ = false;
      leaving = std::move(*slot.position_);
      slots_.erase(slot.position_);
    }
    ++leases_;
    return true;
  }

  platform::detail::Mutex mutex_;
  platform::detail::ConditionVariable isQuiet_;
  std::list<std::shared_ptr<Slot>> slots_ CORVANE_GUARDED_BY(mutex_);
  std::size_t leases_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool hasEnded_ CORVANE_GUARDED_BY(mutex_) = false;
};

}  // namespace corvane::detail
