#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"
#include "Platform/Loading/Internal/ContentDecoder.hpp"
#include "Platform/Loading/Internal/PieceBuffers.hpp"
#include "Platform/Loading/URLResponseStream.hpp"

namespace platform::detail {

/// Who a pipe takes a body from.
class BodyPipeOwner {
 public:
  /// Whether more of the body is wanted at the moment. Loop side.
  virtual void setReading(bool isWanted) = 0;
  /// Submits a block to a queue. Loop side.
  virtual void submit(const DispatchQueue& queue, Block block) = 0;
  /// Calls the block on the loop side. Any thread.
  virtual void post(Block block) = 0;
  /// Nobody wants the rest. Any thread.
  virtual void giveUp() = 0;

 protected:
  ~BodyPipeOwner() = default;
};

/// A body between the loop, which puts bytes in as they came over the network, and its consumer, who takes them out
/// decoded. Bounded as `URLResponseStream` says.
class BodyPipe final : public BodySink, public std::enable_shared_from_this<BodyPipe> {
 public:
  /// `decoder` may be null. The owner is let go at the end. `url`: where the body is from.
  BodyPipe(std::shared_ptr<BodyPipeOwner> owner, URL url, std::unique_ptr<ContentDecoder> decoder);

  // Loop side.
  bool decodes() const override { return hasDecoder_; }
  std::optional<LoadFailure> take(Bytes bytes) override;
  std::span<std::byte> room(std::size_t count) override;
  void filled(std::size_t count) override;
  /// The body is complete, or broke. Once.
  void finish(std::optional<Error> error);
  /// As `finish`, but what was not taken is dropped.
  void drop(Error error);

  // The consumer's side, as `URLResponseStream` says.
  URLResponseStream::Step next();
  void whenReady(DispatchQueue queue, Block block);
  /// There is no consumer any more.
  void abandon();

 private:
  using Step = URLResponseStream::Step;
  using Status = URLResponseStream::Status;
  static constexpr std::size_t bufferBytes = URLResponseStream::bufferBytes;
  static constexpr std::size_t pieceBytes = URLResponseStream::pieceBytes;
  /// What is shorter is copied, so that no piece keeps far more memory than it has bytes.
  static constexpr std::size_t leastBytesInPlace = pieceBytes / 4;

  struct Waiter {
    DispatchQueue queue;
    Block block;
  };

  void append(Bytes bytes) CORVANE_REQUIRES(mutex_);
  void beginPiece(Bytes bytes) CORVANE_REQUIRES(mutex_);
  void extendPiece(Bytes bytes) CORVANE_REQUIRES(mutex_);
  Data buffer();
  /// Whether reading is to stop.
  bool isOverfull() CORVANE_REQUIRES(mutex_);
  bool isReady() const CORVANE_REQUIRES(mutex_) { return !pieces_.empty() || isEnded_; }
  void added(bool isOverfull);
  void end(std::optional<Error> error, bool dropsPieces);
  void tell(std::optional<Waiter> waiter, BodyPipeOwner& owner);
  void readOn();
  Step nextReceived();
  Step nextDecoded();
  Step decode();
  Step decodeSome();
  Data decodedPiece(std::size_t count);
  Error errorOf(const LoadFailure& failure) const;
  Step failed(Error error);

  const URL url_;
  const bool hasDecoder_;

  // The consumer's.
  const std::unique_ptr<ContentDecoder> decoder_;
  Data encoded_;
  Bytes input_;                   ///< what is left of that
  Data decoded_;                  ///< the room for the next piece; its content means nothing
  std::optional<Error> failure_;  ///< found while decoding

  // Loop side.
  Data room_;

  Mutex mutex_;
  std::shared_ptr<BodyPipeOwner> owner_ CORVANE_GUARDED_BY(mutex_);  ///< null at the end
  std::deque<Data> pieces_ CORVANE_GUARDED_BY(mutex_);
  PieceBuffers buffers_ CORVANE_GUARDED_BY(mutex_){pieceBytes};
  /// Bytes of the pieces, and of the one that the consumer has.
  std::size_t held_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::size_t taken_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool isHeldBack_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isEnded_ CORVANE_GUARDED_BY(mutex_) = false;
  bool isDropped_ CORVANE_GUARDED_BY(mutex_) = false;
  std::optional<Error> error_ CORVANE_GUARDED_BY(mutex_);
  std::optional<Waiter> waiter_ CORVANE_GUARDED_BY(mutex_);
};

/// What a consumer has of a pipe.
class PipedBody final : public URLResponseStream {
 public:
  explicit PipedBody(std::shared_ptr<BodyPipe> pipe) : pipe_(std::move(pipe)) {}
  ~PipedBody() override { pipe_->abandon(); }

  Step next() override { return pipe_->next(); }
  void whenReady(DispatchQueue queue, Block block) override { pipe_->whenReady(std::move(queue), std::move(block)); }

 private:
  const std::shared_ptr<BodyPipe> pipe_;
};

}  // namespace platform::detail
