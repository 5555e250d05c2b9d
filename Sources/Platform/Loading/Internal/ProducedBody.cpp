#include "Platform/Loading/Internal/ProducedBody.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Platform/Detail/RequiredMemory.hpp"

namespace platform::detail {

using networking::BodyRead;
using networking::BodyStatus;

ProducedBody::ProducedBody(networking::EventLoop& loop, std::shared_ptr<URLBodyStream> stream)
    : loop_(loop), stream_(std::move(stream)), length_(stream_->length()) {}

void ProducedBody::close() noexcept {
  listener_ = nullptr;
  if (const auto pass = std::exchange(pass_, nullptr)) pass->close();
  for (Data& piece : pieces_) piece = Data();
  pieceCount_ = 0;
}

bool ProducedBody::rewind() {
  isAwaited_ = false;
  if (taken_ == 0 && !failure_) return true;
  if (!stream_->isRepeatable()) {
    wasRefused_ = true;
    return false;
  }
  if (const auto pass = std::exchange(pass_, nullptr)) pass->close();
  for (Data& piece : pieces_) piece = Data();
  pieceCount_ = 0;
  offset_ = 0;
  received_ = 0;
  taken_ = 0;
  isPulling_ = false;
  hasEnded_ = false;
  failure_.reset();
  return true;
}

/// What completes the announced length is sent only when it is known that nothing follows it.
bool ProducedBody::isLastHeldBack() const { return pieceCount_ == 1 && length_ == received_ && !hasEnded_; }

networking::Bytes ProducedBody::peek() {
  if (failure_ || pieceCount_ == 0 || isLastHeldBack()) return {};
  return pieces_[0].span().subspan(offset_);
}

void ProducedBody::advance(std::size_t count) {
  offset_ += count;
  taken_ += count;
  if (offset_ < pieces_[0].count()) return;
  std::move(pieces_.begin() + 1, pieces_.end(), pieces_.begin());
  pieces_.back() = Data();
  --pieceCount_;
  offset_ = 0;
  pull();
}

BodyRead ProducedBody::read(std::span<std::byte> room) {
  if (failure_) return {BodyStatus::failed, 0};
  if (const networking::Bytes bytes = peek(); !bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), room.size());
    std::memcpy(room.data(), bytes.data(), count);
    advance(count);
    return {BodyStatus::bytes, count};
  }
  if (hasEnded_) return {BodyStatus::end, 0};
  pull();
  if (failure_) return {BodyStatus::failed, 0};
  isAwaited_ = true;
  if (listener_) listener_->bodyAwaited();
  return {BodyStatus::pending, 0};
}

void ProducedBody::pull() {
  if (isPulling_ || hasEnded_ || failure_ || pieceCount_ == mostPieces) return;
  if (!pass_) pass_ = std::make_shared<BodyPass>(stream_, DispatchQueue("corvane.body"));
  pass_->pull([self = shared_from_this(), pass = pass_](BodyPiece piece) mutable {
    requiringMemory("a piece of a body cannot be handed on", [&] {
      self->loop_.post([self, pass, piece = std::move(piece)]() mutable { self->arrived(*pass, std::move(piece)); });
    });
  });
  isPulling_ = true;
}

void ProducedBody::arrived(const BodyPass& pass, BodyPiece piece) noexcept {
  if (&pass != pass_.get()) return;  // it was rewound or closed meanwhile
  isPulling_ = false;
  try {
    take(std::move(piece));
    pull();
  } catch (...) {
    failure_ = Error::current();
  }
  if (isLastHeldBack() && !failure_) return;
  if (std::exchange(isAwaited_, false) && listener_) listener_->bodyReady();
}

/// Its pass sees to it that it has the announced length.
void ProducedBody::take(BodyPiece piece) {
  if (piece.error) {
    failure_ = std::move(piece.error);
  } else if (piece.bytes) {
    received_ += piece.bytes->count();
    pieces_[pieceCount_++] = std::move(*piece.bytes);
  } else {
    hasEnded_ = true;
  }
}

}  // namespace platform::detail
