#include "Platform/Loading/Internal/BodyPass.hpp"

#include <utility>

#include "Platform/Detail/RequiredMemory.hpp"

namespace platform::detail {

void BodyPass::pull(Receiver receiver) {
  queue_.async([self = shared_from_this(), receiver = std::move(receiver)]() mutable { receiver(self->nextPiece()); });
}

void BodyPass::close() noexcept {
  MutexLock lock(mutex_);
  if (std::exchange(isClosed_, true)) return;
  const auto interrupted = std::exchange(interruptible_, nullptr);
  lock.unlock();
  if (!interrupted) return;
  interrupted->interrupt();
  // What the application gave is destroyed where it was called.
  requiringMemory("a body cannot be closed",
                  [&] { queue_.async([self = shared_from_this()] { self->pass_.reset(); }); });
}

BodyPiece BodyPass::nextPiece() noexcept {
  try {
    if (isClosed() || (!pass_ && !keep(stream_->open()))) return {};
    while (auto bytes = pass_->next()) {
      if (!bytes->isEmpty()) return {std::move(bytes), std::nullopt};
    }
    return {};
  } catch (...) {
    return {std::nullopt, Error::current()};
  }
}

bool BodyPass::isClosed() {
  const MutexLock lock(mutex_);
  return isClosed_;
}

/// False when it was closed meanwhile.
bool BodyPass::keep(const std::shared_ptr<URLBodyStream::Pass>& opened) {
  const MutexLock lock(mutex_);
  if (isClosed_) return false;
  pass_ = opened;
  interruptible_ = opened;
  return true;
}

}  // namespace platform::detail
