#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Networking/HTTP2/HTTP2FrameMeter.hpp"
#include "Platform/Networking/HTTP2/HTTP2Session.hpp"
#include "Platform/Networking/HTTP2/HTTP2StreamTable.hpp"
#include "Platform/Networking/HTTPConnection.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// A connection that speaks HTTP/2 (RFC 9113): many exchanges at a time, over one stream of bytes.
///
/// What is sent in one iteration of the loop goes out with one write. Bytes are parsed where they were received. A body
/// that is not wanted at the moment (`setReading`) goes on for what its window allows, at most 4 MiB, and is handed on.
/// Nothing is told of the connection itself in the middle of an iteration: `HTTPConnectionOwner` is called at its end.
class HTTP2Connection final : public HTTPConnection,
                              private HTTP2SessionEvents,
                              private StreamOwner,
                              private Deferred,
                              private Timer {
 public:
  /// A server that is silent for so long, while exchanges wait, is asked for a sign of life; as long after that, the
  /// connection is given up.
  static constexpr Duration silenceBeforePing = std::chrono::seconds(15);
  /// After so much is read in an iteration, others come first.
  static constexpr std::size_t fairShareBytes = std::size_t{256} * 1024;

  /// The preface goes out with the first request, or in the next iteration.
  HTTP2Connection(EventLoop& loop, std::unique_ptr<ByteStream> stream, HTTPConnectionOwner& owner);
  ~HTTP2Connection() override;

  std::string_view protocol() const override { return "HTTP/2"; }
  std::size_t capacity() const override;
  TimePoint heldBackUntil() const override { return stream_->heldBackUntil(); }
  std::size_t active() const override { return streams_.attached(); }
  std::uint64_t started() const override { return started_; }
  TimePoint lastReceived() const override { return lastReceived_; }
  void start(RequestStream& exchange) override;
  void cancel(RequestStream& exchange) override;
  void bodyReady(RequestStream& exchange) override;
  void setReading(RequestStream& exchange, bool isWanted) override;
  void retire() override;

 private:
  enum class State : std::uint8_t {
    open,
    draining,  ///< takes no more exchanges
    closed
  };
  /// What the end of this iteration has to see to.
  enum class Reading : std::uint8_t {
    idle,     ///< nothing is there
    unread,   ///< there may be more to read
    finished  ///< the server ended the stream, or it broke
  };

  void serverGoesAway(std::int32_t last, std::uint32_t code) override;
  void streamClosed(HTTP2Stream& stream, std::uint32_t code) override;
  void dataFramed(std::size_t count) override { meter_.dataSent(count); }
  void streamReadable() override;
  void streamWritable() override;
  void runDeferred() override;
  void timerFired() override;

  void readTurn();
  bool receive(Bytes bytes);
  void flush();
  void advance(std::size_t count);
  void endTurn();
  void wantTurn();
  void giveUp(Failure failure);
  template <class Work>
  void withMemory(Work work);
  static Failure copyOf(const Failure& failure) noexcept;
  void failAll();
  void tellRetired();
  void close();

  EventLoop& loop_;
  std::unique_ptr<ByteStream> stream_;
  HTTPConnectionOwner& owner_;
  HTTP2StreamTable streams_;
  HTTP2FrameMeter meter_;
  HTTP2Session session_;
  State state_ = State::open;
  Reading reading_ = Reading::unread;
  bool isInTurn_ = false;
  bool isRetiredTold_ = false;
  bool isPinged_ = false;
  std::size_t toldCapacity_;  // what the owner may count on
  std::uint64_t started_ = 0;
  TimePoint lastSign_;  // of life of the server, or when it was first asked for something
  TimePoint lastReceived_{};
  std::string farewell_;                 // what the server gave as the reason when it went away
  std::optional<Failure> writeFailure_;  // nothing can be sent any more; what was received is read to its end
  std::optional<Failure> failure_;       // why the connection ends, at the end of this iteration
};

}  // namespace platform::networking
