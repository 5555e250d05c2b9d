#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// What a mutex guards is declared with these, and Clang checks every access (-Wthread-safety). Other compilers see
// nothing of them.
#if defined(__clang__)
#define CORVANE_LOCKING(attribute) __attribute__((attribute))
#else
#define CORVANE_LOCKING(attribute)
#endif

/// On a variable: it is read and written only while the mutex is held.
#define CORVANE_GUARDED_BY(...) CORVANE_LOCKING(guarded_by(__VA_ARGS__))
/// On a function: the caller holds the mutex, before and after.
#define CORVANE_REQUIRES(...) CORVANE_LOCKING(requires_capability(__VA_ARGS__))
/// On a function: it locks the mutex, and returns with it locked.
#define CORVANE_ACQUIRE(...) CORVANE_LOCKING(acquire_capability(__VA_ARGS__))
/// On a function: the caller holds the mutex, and does not hold it afterwards.
#define CORVANE_RELEASE(...) CORVANE_LOCKING(release_capability(__VA_ARGS__))
/// On a function that does what the checks cannot follow; a comment says why it is right.
#define CORVANE_UNCHECKED_LOCKING CORVANE_LOCKING(no_thread_safety_analysis)

namespace platform::detail {

/// A `std::mutex` that Clang's checks know.
class CORVANE_LOCKING(capability("mutex")) Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() CORVANE_ACQUIRE() CORVANE_UNCHECKED_LOCKING { mutex_.lock(); }
  void unlock() CORVANE_RELEASE() CORVANE_UNCHECKED_LOCKING { mutex_.unlock(); }
  bool tryLock() CORVANE_LOCKING(try_acquire_capability(true)) CORVANE_UNCHECKED_LOCKING { return mutex_.try_lock(); }
  /// Tells the checks, and does nothing, where the caller holds the mutex and they cannot know.
  void assumeHeld() const CORVANE_LOCKING(assert_capability(this)) {}

 private:
  friend class ConditionVariable;

  std::mutex mutex_;
};

/// Holds a mutex until the end of the scope, or until `unlock`.
class CORVANE_LOCKING(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) CORVANE_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() CORVANE_RELEASE() CORVANE_UNCHECKED_LOCKING {
    if (isHeld_) mutex_.unlock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void unlock() CORVANE_RELEASE() CORVANE_UNCHECKED_LOCKING {
    isHeld_ = false;
    mutex_.unlock();
  }
  void lock() CORVANE_ACQUIRE() CORVANE_UNCHECKED_LOCKING {
    mutex_.lock();
    isHeld_ = true;
  }

 private:
  Mutex& mutex_;
  bool isHeld_ = true;
};

/// Lets go of a held mutex until the end of the scope.
class CORVANE_LOCKING(scoped_lockable) MutexUnlock {
 public:
  explicit MutexUnlock(Mutex& mutex) CORVANE_RELEASE(mutex) : mutex_(mutex) { mutex_.unlock(); }
  // Generic: of a scope that released, the end acquires.
  ~MutexUnlock() CORVANE_RELEASE() CORVANE_UNCHECKED_LOCKING { mutex_.lock(); }
  MutexUnlock(const MutexUnlock&) = delete;
  MutexUnlock& operator=(const MutexUnlock&) = delete;

 private:
  Mutex& mutex_;
};

/// A `std::condition_variable` for a `Mutex`. A predicate that reads guarded variables is a lambda marked with
/// `CORVANE_REQUIRES`.
class ConditionVariable {
 public:
  using Point = std::chrono::steady_clock::time_point;

  void notifyOne() { condition_.notify_one(); }
  void notifyAll() { condition_.notify_all(); }

  /// Also returns for no reason, like `std::condition_variable::wait`.
  void wait(Mutex& mutex) CORVANE_REQUIRES(mutex) { condition_.wait(Borrowed(mutex)); }
  void waitUntil(Mutex& mutex, Point point) CORVANE_REQUIRES(mutex) { condition_.wait_until(Borrowed(mutex), point); }

  template <class Predicate>
  void wait(Mutex& mutex, Predicate holds) CORVANE_REQUIRES(mutex) CORVANE_UNCHECKED_LOCKING {
    condition_.wait(Borrowed(mutex), holds);
  }
  /// False when the predicate did not hold at `point`.
  template <class Predicate>
  bool waitUntil(Mutex& mutex, Point point, Predicate holds) CORVANE_REQUIRES(mutex) CORVANE_UNCHECKED_LOCKING {
    return condition_.wait_until(Borrowed(mutex), point, holds);
  }

 private:
  /// The caller's lock in the form that the standard library waits with. The mutex stays locked when this goes.
  class Borrowed {
   public:
    explicit Borrowed(Mutex& mutex) : lock_(mutex.mutex_, std::adopt_lock) {}
    ~Borrowed() { lock_.release(); }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    operator std::unique_lock<std::mutex>&() { return lock_; }

   private:
    std::unique_lock<std::mutex> lock_;
  };

  std::condition_variable condition_;
};

}  // namespace platform::detail
