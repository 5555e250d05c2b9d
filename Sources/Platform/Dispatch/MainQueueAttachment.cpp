#include "Platform/Dispatch/MainQueueAttachment.hpp"

#include <atomic>
#include <cstddef>
#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Trap.hpp"

namespace platform {
namespace {

std::atomic<bool> isAttached = false;

/// A call of an executor by this thread; it knows the one further up.
struct CallOfThread {
  const void* attachment;
  const CallOfThread* outer;
};
thread_local const CallOfThread* innermostCall = nullptr;

}  // namespace

struct MainQueueAttachment::Shared {
  /// A call of the executor, from `begin` on.
  class Call {
   public:
    explicit Call(Shared& shared) : shared_(shared), call_{&shared, std::exchange(innermostCall, &call_)} {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() {
      innermostCall = call_.outer;
      const detail::MutexLock lock(shared_.mutex);
      --shared_.calls;
      shared_.ended.notifyAll();
    }

   private:
    Shared& shared_;
    const CallOfThread call_;
  };

  explicit Shared(DispatchQueue::Executor given) : executor(std::move(given)) {}

  bool begin() {
    const detail::MutexLock lock(mutex);
    if (isDetached) return false;
    ++calls;
    return true;
  }
  /// But for calls further up on the calling thread, none is under way afterwards, and none begins.
  void end() {
    isDetached = true;
    DispatchQueue::main().attachToHost(nullptr);
    std::size_t own = 0;
    for (const auto* call = innermostCall; call; call = call->outer) own += call->attachment == this ? 1 : 0;
    const detail::MutexLock lock(mutex);
    ended.wait(mutex, [this, own]() CORVANE_REQUIRES(mutex) { return calls == own; });
  }

  DispatchQueue::Executor executor;
  std::atomic<bool> isDetached = false;
  detail::Mutex mutex;
  detail::ConditionVariable ended;
  // The calls of the executor under way.
  std::size_t calls CORVANE_GUARDED_BY(mutex) = 0;
};

MainQueueAttachment::MainQueueAttachment(DispatchQueue::Executor executor)
    : shared_(std::make_shared<Shared>(std::move(executor))) {
  if (isAttached.exchange(true)) trap("The main queue was attached to a host's event loop while another one had it.");
  try {
    DispatchQueue::main().attachToHost([shared = shared_] {
      if (!shared->begin()) return;
      const Shared::Call call(*shared);
      // Weakly: the executor may keep what it was given for as long as it likes.
      shared->executor([weak = std::weak_ptr(shared)] {
        const auto attachment = weak.lock();
        if (attachment && !attachment->isDetached) DispatchQueue::main().runOnce();
      });
    });
  } catch (...) {
    detach();
    throw;
  }
}

void MainQueueAttachment::detach() {
  const auto shared = std::exchange(shared_, nullptr);
  if (!shared) return;
  shared->end();
  isAttached = false;
}

}  // namespace platform
