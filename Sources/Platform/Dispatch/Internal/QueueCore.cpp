#include "Platform/Dispatch/Internal/QueueCore.hpp"

#include <exception>

#include "Platform/Dispatch/Internal/Futex.hpp"
#include "Platform/Dispatch/Internal/LocalQueues.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

thread_local QueueFrame* QueueFrame::top_ = nullptr;

bool QueueFrame::contains(const QueueCore& queue) {
  for (const auto* frame = top_; frame; frame = frame->below_) {
    if (&frame->queue_ == &queue) return true;
  }
  return false;
}

void QueueCore::perform(Block& block) const noexcept {
  try {
    block();
  } catch (const std::exception& error) {
    trap("An exception escaped a block of the queue \"" + label_ + "\": " + error.what());
  } catch (...) {
    trap("An exception escaped a block of the queue \"" + label_ + "\".");
  }
}

void QueueCore::trapWhenCurrent() const {
  if (!QueueFrame::contains(*this)) return;
  trap("sync was called on the queue \"" + label_ +
       "\" from inside one of its own blocks, which would wait for itself.");
}

void QueueCore::enqueueAndWait(void* object, void (*call)(void*)) {
  trapWhenCurrent();
  struct Call {
    void* object;
    void (*function)(void*);
    std::exception_ptr error;
    Event finished;
  } pending{object, call, nullptr, {}};
  async(Block([&pending] {
    try {
      pending.function(pending.object);
    } catch (...) {
      pending.error = std::current_exception();
    }
    pending.finished.set();
  }));
  LocalQueues::flushCurrent();
  pending.finished.wait();
  if (pending.error) std::rethrow_exception(pending.error);
}

}  // namespace platform::detail
