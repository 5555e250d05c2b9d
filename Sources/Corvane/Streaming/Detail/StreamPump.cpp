#include "Corvane/Streaming/Detail/StreamPump.hpp"

#include <new>
#include <utility>

namespace corvane::detail {

using platform::DispatchQueue;
using platform::Error;
using platform::URLResponseStream;

namespace {

/// After so many pieces the other blocks of the queue have their turn.
constexpr int fairShareOfPieces = 16;

}  // namespace

StreamPump::StreamPump(std::optional<DispatchQueue> queue, Handler handler)
    : queue_(queue ? *std::move(queue) : DispatchQueue::main()), handler_(std::move(handler)) {}

StreamPump::~StreamPump() = default;

void StreamPump::begin(std::shared_ptr<const platform::URLResponse>, std::shared_ptr<StreamSource> source) {
  source_ = std::move(source);
  queue_.async([self = shared_from_this()] { self->run(); });
}

void StreamPump::run() {
  for (int pieces = 0; pieces < fairShareOfPieces; ++pieces) {
    if (!step()) return;
  }
  try {
    queue_.async([self = shared_from_this()] { self->run(); });
  } catch (const std::bad_alloc&) {
    conclude(Error::outOfMemory());
  }
}

bool StreamPump::step() {
  StreamSource::Step step;
  try {
    step = source_->next();
    if (step.status == URLResponseStream::Status::pending) {
      source_->whenReady(queue_, [self = shared_from_this()] { self->run(); });
      return false;
    }
  } catch (const std::bad_alloc&) {
    conclude(Error::outOfMemory());
    return false;
  }
  if (step.status != URLResponseStream::Status::piece) {
    conclude(std::move(step.error));
    return false;
  }
  if (handler_) handler_(std::move(step.piece));
  return true;
}

void StreamPump::conclude(std::optional<Error> error) {
  handler_ = nullptr;
  std::exchange(source_, nullptr)->conclude(std::move(error));
}

}  // namespace corvane::detail
