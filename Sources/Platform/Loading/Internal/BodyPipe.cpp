#include "Platform/Loading/Internal/BodyPipe.hpp"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"

namespace platform::detail {

BodyPipe::BodyPipe(std::shared_ptr<BodyPipeOwner> owner, URL url, std::unique_ptr<ContentDecoder> decoder)
    : url_(std::move(url)), hasDecoder_(decoder != nullptr), decoder_(std::move(decoder)), owner_(std::move(owner)) {}

// Loop side

std::optional<LoadFailure> BodyPipe::take(Bytes bytes) {
  bool overfull = false;
  {
    const MutexLock lock(mutex_);
    if (isEnded_) return std::nullopt;
    append(bytes);
    overfull = isOverfull();
  }
  added(overfull);
  return std::nullopt;
}

/// Small pieces of the network become large ones while nobody takes them.
void BodyPipe::append(Bytes bytes) {
  held_ += bytes.size();
  while (!bytes.empty()) {
    const std::size_t used = pieces_.empty() ? pieceBytes : pieces_.back().count();
    const bool isFull = used >= pieceBytes;
    const Bytes part = bytes.first(std::min(bytes.size(), isFull ? pieceBytes : pieceBytes - used));
    isFull ? beginPiece(part) : extendPiece(part);
    bytes = bytes.subspan(part.size());
  }
}

void BodyPipe::beginPiece(Bytes bytes) {
  if (bytes.size() < leastBytesInPlace) {
    pieces_.emplace_back(bytes);
    return;
  }
  Data piece = buffers_.take();
  piece.append(bytes);
  pieces_.push_back(std::move(piece));
}

void BodyPipe::extendPiece(Bytes bytes) {
  Data& piece = pieces_.back();
  const std::size_t count = piece.count() + bytes.size();
  if (count > piece.capacity() && count >= leastBytesInPlace) {
    Data larger = buffers_.take();
    larger.append(piece.span());
    piece = std::move(larger);
  }
  piece.append(bytes);
}

Data BodyPipe::buffer() {
  const MutexLock lock(mutex_);
  return buffers_.take();
}

bool BodyPipe::isOverfull() {
  if (held_ < bufferBytes || isHeldBack_) return false;
  isHeldBack_ = true;
  return true;
}

std::span<std::byte> BodyPipe::room(std::size_t count) {
  if (count < leastBytesInPlace) return {};
  const std::size_t wanted = std::min(count, pieceBytes);
  if (room_.isEmpty()) {
    room_ = buffer();
    room_.resize(pieceBytes);
  }
  return {room_.mutableBytes(), wanted};
}

/// Joins the last piece where it fits, so that pieces that wait are never half empty.
void BodyPipe::filled(std::size_t count) {
  bool overfull = false;
  {
    const MutexLock lock(mutex_);
    if (isEnded_) return;
    const bool fits = !pieces_.empty() && pieces_.back().count() + count <= pieceBytes;
    if (fits || count < leastBytesInPlace) {
      append(room_.span().first(count));
    } else {
      room_.resize(count);
      held_ += count;
      pieces_.push_back(std::exchange(room_, Data()));
    }
    overfull = isOverfull();
  }
  added(overfull);
}

void BodyPipe::added(bool isOverfull) {
  std::shared_ptr<BodyPipeOwner> owner;
  std::optional<Waiter> waiter;
  {
    const MutexLock lock(mutex_);
    owner = owner_;
    waiter = std::exchange(waiter_, std::nullopt);
  }
  if (!owner) return;
  if (isOverfull) owner->setReading(false);
  tell(std::move(waiter), *owner);
}

void BodyPipe::tell(std::optional<Waiter> waiter, BodyPipeOwner& owner) {
  if (waiter) owner.submit(waiter->queue, std::move(waiter->block));
}

void BodyPipe::finish(std::optional<Error> error) { end(std::move(error), false); }

void BodyPipe::drop(Error error) { end(std::move(error), true); }

void BodyPipe::end(std::optional<Error> error, bool dropsPieces) {
  std::shared_ptr<BodyPipeOwner> owner;
  std::optional<Waiter> waiter;
  {
    const MutexLock lock(mutex_);
    if (isEnded_) return;
    isEnded_ = true;
    error_ = std::move(error);
    owner = std::exchange(owner_, nullptr);
    waiter = std::exchange(waiter_, std::nullopt);
    isDropped_ = dropsPieces;
    if (dropsPieces) pieces_.clear();
  }
  room_ = Data();
  if (owner) tell(std::move(waiter), *owner);
}

/// What was asked for by a consumer; another piece may have come in between.
void BodyPipe::readOn() {
  std::shared_ptr<BodyPipeOwner> owner;
  {
    const MutexLock lock(mutex_);
    if (!isHeldBack_) owner = owner_;
  }
  if (owner) owner->setReading(true);
}

// The consumer's side

URLResponseStream::Step BodyPipe::next() {
  if (failure_) return {.status = Status::failed, .error = failure_};
  return decoder_ ? nextDecoded() : nextReceived();
}

BodyPipe::Step BodyPipe::nextReceived() {
  Step step;
  std::shared_ptr<BodyPipeOwner> resumed;
  {
    const MutexLock lock(mutex_);
    held_ -= std::exchange(taken_, 0);
    buffers_.reclaim();
    if (!pieces_.empty()) {
      step.status = Status::piece;
      step.piece = std::move(pieces_.front());
      pieces_.pop_front();
      taken_ = step.piece.count();
      buffers_.lend(step.piece);
    } else if (isEnded_) {
      step.status = error_ ? Status::failed : Status::end;
      step.error = error_;
      buffers_.clear();
    }
    if (isHeldBack_ && held_ <= bufferBytes / 2) {
      isHeldBack_ = false;
      resumed = owner_;
    }
  }
  if (resumed) {
    requiringMemory("a body cannot be read on",
                    [&] { resumed->post([self = shared_from_this()] { self->readOn(); }); });
  }
  return step;
}

/// The encoded piece counts as the consumer's until it is decoded.
BodyPipe::Step BodyPipe::nextDecoded() {
  {
    const MutexLock lock(mutex_);
    if (isDropped_) return {.status = Status::failed, .error = error_};
  }
  for (;;) {
    Step step = decode();
    if (step.status != Status::pending) return step;
    encoded_ = Data();
    step = nextReceived();
    if (step.status == Status::end || step.status == Status::failed) decoded_ = Data();
    if (step.status == Status::end) {
      if (auto failure = decoder_->finish()) return failed(errorOf(*failure));
    }
    if (step.status != Status::piece) return step;
    encoded_ = std::move(step.piece);
    input_ = encoded_.span();
  }
}

/// Pending where there is nothing left to decode. What was decoded is lost where memory runs out, so that is the end.
BodyPipe::Step BodyPipe::decode() {
  try {
    return decodeSome();
  } catch (const std::bad_alloc&) {
    return failed(Error::outOfMemory());
  }
}

/// What was decoded before a failure comes first.
BodyPipe::Step BodyPipe::decodeSome() {
  if (decoded_.isEmpty()) {
    decoded_ = buffer();
    decoded_.resize(pieceBytes);
  }
  std::byte* const room = decoded_.mutableBytes();
  std::size_t count = 0;
  while (count < pieceBytes / 2) {
    DecodedStep step = decoder_->decode(input_, {room + count, pieceBytes - count});
    if (step.failure) {
      Step failure = failed(errorOf(*step.failure));
      if (count == 0) return failure;
      break;
    }
    if (step.count == 0) break;
    count += step.count;
  }
  if (count == 0) return {};
  return {.status = Status::piece, .piece = decodedPiece(count)};
}

Data BodyPipe::decodedPiece(std::size_t count) {
  if (count < leastBytesInPlace) return Data(decoded_.bytes(), count);
  Data piece = std::exchange(decoded_, Data());
  piece.resize(count);
  const MutexLock lock(mutex_);
  buffers_.lend(piece);
  return piece;
}

Error BodyPipe::errorOf(const LoadFailure& failure) const {
  return transportError(failure.code, failure.message, url_, true);
}

BodyPipe::Step BodyPipe::failed(Error error) {
  failure_ = std::move(error);
  abandon();
  return {.status = Status::failed, .error = failure_};
}

void BodyPipe::whenReady(DispatchQueue queue, Block block) {
  {
    const MutexLock lock(mutex_);
    if (!isReady() && !failure_) {
      waiter_.emplace(Waiter{std::move(queue), std::move(block)});
      return;
    }
  }
  queue.async(std::move(block));
}

void BodyPipe::abandon() {
  std::shared_ptr<BodyPipeOwner> owner;
  std::optional<Waiter> dropped;
  {
    const MutexLock lock(mutex_);
    owner = owner_;
    dropped = std::exchange(waiter_, std::nullopt);
  }
  if (owner) owner->giveUp();
}

}  // namespace platform::detail
