#include "Platform/Dispatch/MainQueueAttachment.hpp"

#include <atomic>
#include <utility>

#include "Platform/Trap.hpp"

namespace platform {
namespace {

std::atomic<bool> isAttached = false;

}  // namespace

struct MainQueueAttachment::Shared {
  explicit Shared(DispatchQueue::Executor given) : executor(std::move(given)) {}

  DispatchQueue::Executor executor;
  std::atomic<bool> isDetached = false;
};

MainQueueAttachment::MainQueueAttachment(DispatchQueue::Executor executor)
    : shared_(std::make_shared<Shared>(std::move(executor))) {
  if (isAttached.exchange(true)) trap("The main queue was attached to a host's event loop while another one had it.");
  DispatchQueue::main().attachToHost([shared = shared_] {
    // Weakly: the executor may keep what it was given for as long as it likes.
    shared->executor([weak = std::weak_ptr(shared)] {
      const auto attachment = weak.lock();
      if (attachment && !attachment->isDetached) DispatchQueue::main().runOnce();
    });
  });
}

void MainQueueAttachment::detach() {
  const auto shared = std::exchange(shared_, nullptr);
  if (!shared) return;
  shared->isDetached = true;
  DispatchQueue::main().attachToHost(nullptr);
  isAttached = false;
}

}  // namespace platform
