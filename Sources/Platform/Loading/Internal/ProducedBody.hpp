#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/BodyPass.hpp"
#include "Platform/Loading/URLBodyStream.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/RequestBody.hpp"

namespace platform::detail {

/// The body of one task, from a stream. Pulls the stream on a queue, two pieces ahead of what is sent, and begins when
/// it is asked for the first byte. Loop side only.
class ProducedBody final : public networking::RequestBody, public std::enable_shared_from_this<ProducedBody> {
 public:
  /// Who sends it.
  class Listener {
   public:
    /// It was asked for bytes, and has none for now.
    virtual void bodyAwaited() = 0;
    /// It has some again, or has ended, or failed. Outside of every other call.
    virtual void bodyReady() = 0;

   protected:
    ~Listener() = default;
  };

  ProducedBody(networking::EventLoop& loop, std::shared_ptr<URLBodyStream> stream);

  /// Null: nobody.
  void setListener(Listener* listener) { listener_ = listener; }
  /// Why `read` failed.
  const std::optional<Error>& failure() const { return failure_; }
  /// Whether `rewind` would succeed.
  bool canRewind() const { return (taken_ == 0 && !failure_) || isRepeatable(); }
  bool isRepeatable() const { return stream_->isRepeatable(); }
  /// Whether `rewind` was refused.
  bool wasRefused() const { return wasRefused_; }
  /// Nothing more is needed.
  void close() noexcept;

  std::optional<std::uint64_t> length() const override { return length_; }
  bool rewind() override;
  networking::Bytes peek() override;
  void advance(std::size_t count) override;
  networking::BodyRead read(std::span<std::byte> room) override;

 private:
  static constexpr std::size_t mostPieces = 2;

  bool isLastHeldBack() const;
  void pull();
  void arrived(const BodyPass& pass, BodyPiece piece) noexcept;
  void take(BodyPiece piece);

  networking::EventLoop& loop_;
  const std::shared_ptr<URLBodyStream> stream_;
  const std::optional<std::uint64_t> length_;
  Listener* listener_ = nullptr;

  // Of the present pass.
  std::shared_ptr<BodyPass> pass_;
  std::array<Data, mostPieces> pieces_;
  std::size_t pieceCount_ = 0;
  std::size_t offset_ = 0;  ///< in the first piece
  std::uint64_t received_ = 0;
  std::uint64_t taken_ = 0;
  bool isPulling_ = false;
  bool isAwaited_ = false;
  bool hasEnded_ = false;
  std::optional<Error> failure_;
  bool wasRefused_ = false;
};

}  // namespace platform::detail
