#include "Platform/Dispatch/MainQueueAttachment.hpp"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <utility>

#include "Platform/Trap.hpp"

namespace platform {
namespace {

std::atomic<bool> isAttached = false;

}  // namespace

struct MainQueueAttachment::Shared {
  /// A call of the executor; those of a thread know the one further up.
  class Call {
   public:
    explicit Call(Shared& shared) : shared_(shared), outer_(std::exchange(innermost, this)) {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() {
      innermost = outer_;
      const std::lock_guard lock(shared_.mutex);
      --shared_.calls;
      shared_.ended.notify_all();
    }

    static std::size_t ofThisThread(const Shared& shared) {
      std::size_t count = 0;
      for (const auto* call = innermost; call; call = call->outer_) count += &call->shared_ == &shared ? 1 : 0;
      return count;
    }

   private:
    static thread_local const Call* innermost;

    Shared& shared_;
    const Call* const outer_;
  };

  explicit Shared(DispatchQueue::Executor given) : executor(std::move(given)) {}

  bool begin() {
    const std::lock_guard lock(mutex);
    if (!isDetached) ++calls;
    return !isDetached;
  }
  /// But for calls further up on the calling thread, none is under way afterwards, and none begins.
  void end() {
    isDetached = true;
    DispatchQueue::main().attachToHost(nullptr);
    std::unique_lock lock(mutex);
    ended.wait(lock, [this] { return calls == Call::ofThisThread(*this); });
  }

  DispatchQueue::Executor executor;
  std::atomic<bool> isDetached = false;
  std::mutex mutex;
  std::condition_variable ended;
  // Guarded by the mutex: the calls of the executor under way.
  std::size_t calls = 0;
};

thread_local const MainQueueAttachment::Shared::Call* MainQueueAttachment::Shared::Call::innermost = nullptr;

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
