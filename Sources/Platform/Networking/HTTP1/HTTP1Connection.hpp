#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Networking/HTTP1/RequestSender.hpp"
#include "Platform/Networking/HTTP1/ResponseParser.hpp"
#include "Platform/Networking/HTTPConnection.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// A connection that speaks HTTP/1.1 (RFC 9112): one exchange at a time.
///
/// It reads and writes at the same time. A final response that comes before the request is out ends the request when it
/// refuses it (300 and above). One that accepts lets it go on; once such a response is complete, it is delivered when
/// the request is out, too, when the server closes, or when nothing of the request went out for `stallLimit`: because
/// the server takes nothing, or because the body has nothing to send.
///
/// An unwanted body, and the end of one, are no reason to fail: the connection is given up then, and the exchange ends.
///
/// It reads when the loop calls it, never inside of a call from above: only the reader may use the loop's receive
/// buffer.
class HTTP1Connection final : public HTTPConnection, private StreamOwner, private Deferred, private Timer {
 public:
  /// How much is read, and how much written, before others have their turn.
  static constexpr std::size_t turnBytes = std::size_t{256} * 1024;
  /// Of a body, so many bytes must be ahead to be read into room of the exchange's.
  static constexpr std::uint64_t directBytes = 16 * 1024;
  /// Bytes of an unwanted body that are read to keep the connection; beyond that it is cheaper to make another.
  static constexpr std::uint64_t discardLimit = 64 * 1024;
  /// How long the server's "100 Continue" is waited for before the body is sent without (RFC 9110, 10.1.1).
  static constexpr Duration continueLimit = std::chrono::seconds(1);
  /// How long the rest of a request may stand still, on either side, once the server has said everything.
  static constexpr Duration stallLimit = std::chrono::seconds(2);

  /// Both live longer. Whatever the stream has already to say is read in the next iteration.
  HTTP1Connection(EventLoop& loop, std::unique_ptr<ByteStream> stream, HTTPConnectionOwner& owner);
  ~HTTP1Connection() override;

  std::string_view protocol() const override { return "HTTP/1.1"; }
  /// None while the stream has news: what the server sent before the request is never its response.
  TimePoint heldBackUntil() const override { return stream_->heldBackUntil(); }
  std::size_t capacity() const override { return state_ == State::idle && !isRetired_ && !stream_->hasNews() ? 1 : 0; }
  std::size_t active() const override { return exchange_ ? 1 : 0; }
  std::uint64_t started() const override { return started_; }
  void start(RequestStream& exchange) override;
  void cancel(RequestStream& exchange) override;
  void bodyReady(RequestStream& exchange) override;
  void setReading(RequestStream& exchange, bool isWanted) override;
  void retire() override;

 private:
  enum class State : std::uint8_t {
    idle,        ///< nothing is to come; whatever does closes it
    exchanging,  ///< `response_` says how far the response is
    settling,    ///< a response ended; whether anything follows it is not known yet
    closed
  };
  enum class Response : std::uint8_t {
    awaited,     ///< or its head is under way
    delivering,  ///< its body goes to the exchange
    discarding,  ///< its body is unwanted
    complete     ///< before the request was: nothing is told of that yet
  };
  void streamReadable() override;
  void streamWritable() override;
  void runDeferred() override;
  void timerFired() override;

  void begin(RequestStream& exchange);
  void takeTurn();

  // Reading
  bool isToRead() const { return mayRead_ && (state_ != State::exchanging || isReadingWanted_); }
  void readTurn();
  std::size_t readOnce(std::size_t limit);
  std::span<std::byte> roomOfExchange(std::size_t limit);
  void take(std::string_view bytes);
  void takeResponse(std::string_view bytes);
  void keep(std::string_view rest);
  void takeContinue();
  void takeHead();
  void takeBody(std::string_view bytes);
  void takeEnd(bool isMoreBehind);
  void skippedBody(std::size_t count);
  void nothingToRead();
  void readingEnded(const Failure* failure);

  // Writing
  void writeTurn();
  void writingStopped(RequestSender::Status status);

  // Ending
  /// Makes a call of this connection. Where memory runs out in it, the exchange fails. The outermost call tells the
  /// owner at its very end, since the owner may destroy the connection then.
  template <class Work>
  void call(Work work);
  void finish(bool mayBeKept);
  void fail(Failure failure);
  void giveUp();
  void close();
  void settle();
  void becomeIdle();
  void tellOwner();

  EventLoop& loop_;
  const std::unique_ptr<ByteStream> stream_;
  HTTPConnectionOwner& owner_;

  State state_ = State::idle;
  bool isRetired_ = false;
  /// The stream may have something to say.
  bool mayRead_ = true;
  std::uint64_t started_ = 0;

  // Of the present exchange.
  RequestStream* exchange_ = nullptr;
  Response response_ = Response::awaited;
  bool isReadingWanted_ = true;
  /// The stream takes nothing until it says so.
  bool isBlocked_ = false;
  /// Writing failed: only what the server has said already is still to be had.
  bool isBroken_ = false;
  std::uint64_t discarded_ = 0;
  RequestSender sender_;
  ResponseParser parser_;
  /// The beginning of a head, or of trailers.
  std::string unparsed_;

  // What the owner is to be told of when the outermost call ends.
  unsigned calls_ = 0;
  bool isAvailableAgain_ = false;
  bool isCloseTold_ = false;
};

}  // namespace platform::networking
