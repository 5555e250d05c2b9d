#pragma once

#include <condition_variable>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace corvane::detail {

/// Stands between an execution context, which may be destroyed at any time, and the library, whose threads come back to
/// it with answers. What is kept of the context (executors, work, handlers) lives in residents, and is touched through
/// the gate only, so that nothing of it is touched once the context is gone. Thread-safe.
class ContextGate {
 public:
  class Resident {
   public:
    Resident() = default;
    virtual ~Resident() = default;
    Resident(const Resident&) = delete;
    Resident& operator=(const Resident&) = delete;

   private:
    friend class ContextGate;

    /// The context ends: lets go of all that is of it.
    virtual void evict() = 0;

    std::list<std::shared_ptr<Resident>>::iterator place_;
    bool isIn_ = false;
  };

  /// False when the context has ended.
  bool admit(const std::shared_ptr<Resident>& resident) {
    const std::lock_guard lock(mutex_);
    if (hasEnded_) return false;
    resident->place_ = residents_.insert(residents_.end(), resident);
    resident->isIn_ = true;
    return true;
  }

  /// Calls the function, unless the resident has left. The context does not end meanwhile.
  template <class Function>
  bool use(Resident& resident, Function function) {
    if (!enter(resident, false)) return false;
    const Visit visit(*this);
    function();
    return true;
  }
  /// The same for the last time: the resident has left, and is not evicted. Of several such calls one is first.
  template <class Function>
  bool takeOut(Resident& resident, Function function) {
    if (!enter(resident, true)) return false;
    const Visit visit(*this);
    function();
    return true;
  }

  /// The context is about to go: waits for the visits under way, and evicts everyone.
  void end() {
    std::list<std::shared_ptr<Resident>> evicted;
    std::unique_lock lock(mutex_);
    hasEnded_ = true;
    evicted.swap(residents_);
    for (const auto& resident : evicted) resident->isIn_ = false;
    isQuiet_.wait(lock, [this] { return visits_ == 0; });
    lock.unlock();
    // Without the lock: what a handler holds may come back here as it goes.
    for (const auto& resident : evicted) resident->evict();
  }

 private:
  class Visit {
   public:
    explicit Visit(ContextGate& gate) : gate_(gate) {}
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    ~Visit() {
      const std::lock_guard lock(gate_.mutex_);
      if (--gate_.visits_ == 0 && gate_.hasEnded_) gate_.isQuiet_.notify_all();
    }

   private:
    ContextGate& gate_;
  };

  bool enter(Resident& resident, bool leaves) {
    // Destroyed without the lock.
    std::shared_ptr<Resident> leaving;
    const std::lock_guard lock(mutex_);
    if (!resident.isIn_) return false;
    if (leaves) {
      resident.isIn_ = false;
      leaving = std::move(*resident.place_);
      residents_.erase(resident.place_);
    }
    ++visits_;
    return true;
  }

  std::mutex mutex_;
  std::condition_variable isQuiet_;
  std::list<std::shared_ptr<Resident>> residents_;
  std::size_t visits_ = 0;
  bool hasEnded_ = false;
};

}  // namespace corvane::detail
