#pragma once

#include <array>
#include <memory>

#include "Platform/Networking/Streams/ByteStream.hpp"
#include "Platform/Networking/Streams/ByteThrottle.hpp"

namespace platform::networking {

/// A stream that moves no more bytes than its throttle allows: one that is held back says `wouldBlock`, and tells its
/// owner when it may go on. What is not read stays with the system, so that the peer slows down. The throttle lives
/// longer.
class ThrottledStream final : public ByteStream, private StreamOwner {
 public:
  ThrottledStream(EventLoop& loop, ByteThrottle& throttle, std::unique_ptr<ByteStream> stream);
  ~ThrottledStream() override;

  IOResult read(std::span<std::byte> room) override;
  IOResult write(std::span<const Bytes> pieces) override;
  IOResult sendFile(int file, off_t offset, std::size_t count) override;
  void shutDown() override;
  /// Also while reading is held back: there may be anything.
  bool hasNews() const override { return reading_.isWaiting() || stream_->hasNews(); }
  bool isSecure() const override { return stream_->isSecure(); }
  const std::optional<Failure>& failure() const override { return stream_->failure(); }
  int descriptor() const override { return stream_->descriptor(); }
  TimePoint heldBackUntil() const override;

 private:
  class Direction final : public ThrottledDirection {
   public:
    using Call = void (StreamOwner::*)();
    Direction(ThrottledStream& stream, Call call) : stream_(stream), call_(call) {}

   private:
    void mayMove() override { stream_.goOn(call_); }

    ThrottledStream& stream_;
    Call call_;
  };

  void streamReadable() override;
  void streamWritable() override;
  void goOn(Direction::Call call);
  std::size_t readable();
  IOResult moved(IOResult result);
  IOResult wrote(IOResult result);

  EventLoop& loop_;
  ByteThrottle& throttle_;
  const std::unique_ptr<ByteStream> stream_;
  Direction reading_{*this, &StreamOwner::streamReadable};
  Direction writing_{*this, &StreamOwner::streamWritable};
  bool hasPeeked_ = false;    ///< since it was held back
  bool isBroken_ = false;     ///< writing failed: what the peer has said is read at once
  TimePoint lastHeldBack_{};  ///< when a direction went on that had waited
};

}  // namespace platform::networking
