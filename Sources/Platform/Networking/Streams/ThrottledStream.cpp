#include "Platform/Networking/Streams/ThrottledStream.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace platform::networking {

namespace {

/// The beginning of the pieces, as much as is allowed. More than these come in another write.
class Beginning {
 public:
  Beginning(std::span<const Bytes> pieces, std::size_t allowed) {
    for (const Bytes piece : pieces) {
      if (used_ == parts_.size() || allowed == 0) break;
      const std::size_t count = std::min(piece.size(), allowed);
      if (count == 0) continue;
      parts_[used_++] = piece.first(count);
      allowed -= count;
    }
  }
  std::span<const Bytes> pieces() const { return {parts_.data(), used_}; }

 private:
  std::array<Bytes, 8> parts_;
  std::size_t used_ = 0;
};

bool areEmpty(std::span<const Bytes> pieces) {
  return std::all_of(pieces.begin(), pieces.end(), [](Bytes piece) { return piece.empty(); });
}

}  // namespace

ThrottledStream::ThrottledStream(EventLoop& loop, ByteThrottle& throttle, std::unique_ptr<ByteStream> stream)
    : loop_(loop), throttle_(throttle), stream_(std::move(stream)) {
  stream_->setOwner(this);
}

ThrottledStream::~ThrottledStream() {
  throttle_.stopWaiting(reading_);
  throttle_.stopWaiting(writing_);
  stream_->setOwner(nullptr);
}

IOResult ThrottledStream::read(std::span<std::byte> room) {
  if (room.empty() || isBroken_) return stream_->read(room);
  const std::size_t allowed = readable();
  return allowed == 0 ? IOResult{} : moved(stream_->read(room.first(std::min(room.size(), allowed))));
}

/// One that is held back looks once whether there is anything at all, by one byte: a kept connection is to be known as
/// ready, or as closed, at once.
std::size_t ThrottledStream::readable() {
  const std::size_t allowed = throttle_.allowance(reading_);
  if (allowed > 0) {
    hasPeeked_ = false;
    return allowed;
  }
  if (std::exchange(hasPeeked_, true)) return 0;
  throttle_.stopWaiting(reading_);
  return 1;
}

IOResult ThrottledStream::write(std::span<const Bytes> pieces) {
  if (areEmpty(pieces)) return stream_->write(pieces);
  const std::size_t allowed = throttle_.allowance(writing_);
  return allowed == 0 ? IOResult{} : wrote(stream_->write(Beginning(pieces, allowed).pieces()));
}

IOResult ThrottledStream::sendFile(int file, off_t offset, std::size_t count) {
  if (count == 0) return stream_->sendFile(file, offset, count);
  const std::size_t allowed = throttle_.allowance(writing_);
  return allowed == 0 ? IOResult{} : wrote(stream_->sendFile(file, offset, std::min(count, allowed)));
}

IOResult ThrottledStream::moved(IOResult result) {
  if (result.status == IOStatus::done) throttle_.moved(result.count);
  return result;
}

IOResult ThrottledStream::wrote(IOResult result) {
  if (result.status == IOStatus::failed) isBroken_ = true;
  return moved(result);
}

void ThrottledStream::shutDown() {
  throttle_.stopWaiting(reading_);
  throttle_.stopWaiting(writing_);
  stream_->shutDown();
}

TimePoint ThrottledStream::heldBackUntil() const {
  return reading_.isWaiting() || writing_.isWaiting() ? loop_.now() : lastHeldBack_;
}

/// One that is held back reads when it is its turn.
void ThrottledStream::streamReadable() {
  if (!reading_.isWaiting() && owner()) owner()->streamReadable();
}

void ThrottledStream::streamWritable() {
  if (!writing_.isWaiting() && owner()) owner()->streamWritable();
}

void ThrottledStream::goOn(Direction::Call call) {
  lastHeldBack_ = loop_.now();
  if (owner()) (owner()->*call)();
}

}  // namespace platform::networking
