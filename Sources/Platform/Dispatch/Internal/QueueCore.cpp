#include "Platform/Dispatch/Internal/QueueCore.hpp"

#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "Platform/Detail/TrapException.hpp"
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
  if (!block) return;
  try {
    block();
  } catch (...) {
    trapException({"out of memory in a block of the queue \"", label_, "\""},
                  {"An exception escaped a block of the queue \"", label_, "\""});
  }
}

void QueueCore::trapWhenCurrent() const {
  if (!QueueFrame::contains(*this)) return;
  trapWith({"sync was called on the queue \"", label_,
            "\" from inside one of its own blocks, which would wait for itself."});
}

namespace {

/// A call for which a thread waits.
struct AwaitedCall {
  void* object;
  void (*function)(void*);
  std::exception_ptr error;
  bool wasDropped = false;
  Event finished;

  void run() {
    try {
      function(object);
    } catch (...) {
      error = std::current_exception();
    }
  }
};

/// The block that makes the call. It lets the thread go on when it is dropped, too.
class AwaitedCallBlock {
 public:
  explicit AwaitedCallBlock(AwaitedCall& call) : call_(&call) {}
  AwaitedCallBlock(AwaitedCallBlock&& other) noexcept : call_(std::exchange(other.call_, nullptr)) {}
  AwaitedCallBlock& operator=(AwaitedCallBlock&&) = delete;
  ~AwaitedCallBlock() {
    if (!call_) return;
    call_->wasDropped = true;
    call_->finished.set();
  }
  void operator()() {
    auto* call = std::exchange(call_, nullptr);
    call->run();
    call->finished.set();
  }

 private:
  AwaitedCall* call_;
};

}  // namespace

void QueueCore::enqueueAndWait(void* object, void (*call)(void*)) {
  trapWhenCurrent();
  AwaitedCall awaited{.object = object, .function = call, .error = nullptr, .finished = {}};
  async(Block(AwaitedCallBlock(awaited)));
  LocalQueues::flushCurrent();
  awaited.finished.wait();
  if (awaited.error) std::rethrow_exception(awaited.error);
  if (awaited.wasDropped) throw std::runtime_error("the executor of the queue \"" + label_ + "\" has ended");
}

}  // namespace platform::detail
