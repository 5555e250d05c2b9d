#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Networking/RequestStream.hpp"

namespace platform::networking {

class HTTP2HeaderBlock;
class HTTP2StreamTable;

/// One exchange on an HTTP/2 connection: what it is about to send, and what it was told.
///
/// It is attached to its exchange until the exchange was told of its end, was cancelled, or refused its body. It lives
/// on, detached, until the session has closed the stream; then the table takes it back.
class HTTP2Stream {
 public:
  /// Of a response that nobody wants, so much is read before the stream is reset.
  static constexpr std::size_t maximumDiscardedBytes = std::size_t{64} * 1024;
  static constexpr int maximumInterimResponses = 32;

  /// What is to become of the stream after something was received.
  enum class Step : std::uint8_t {
    goOn,
    ended,      ///< the response is complete, and the exchange was told
    abandoned,  ///< nobody waits for it any more: it is to be reset
    malformed   ///< the server broke the protocol, and the exchange was told: it is to be reset
  };

  explicit HTTP2Stream(HTTP2StreamTable& table) : table_(table) {}
  HTTP2Stream(const HTTP2Stream&) = delete;
  HTTP2Stream& operator=(const HTTP2Stream&) = delete;

  void begin(RequestStream& exchange);
  bool isAttached() const { return exchange_ != nullptr; }
  RequestStream* exchange() const { return exchange_; }
  /// From now on nobody is told of anything. Gives the exchange.
  RequestStream* detach();

  std::int32_t id = 0;

  // Sending.

  bool hasBody() const { return body_ != nullptr; }
  /// How many bytes a DATA frame may take next, as far as that is known.
  std::size_t bodyRoom(std::size_t limit) const;
  /// The request's next bytes; `isLast` when no more will come. `pending` also while the upload is stopped.
  struct BodyPiece {
    BodyRead read;
    bool isLast = false;
  };
  BodyPiece takeBody(std::span<std::byte> room);
  /// The body may have bytes again; whether anybody waits for them.
  bool resume();
  /// Whether the request was handed over whole, so that only the response is due.
  bool isSent() const { return upload_ == Upload::complete; }
  /// Bytes of it were given to the system, `bodyBytes` of them of its body.
  void written(std::size_t bodyBytes, bool isWhole);

  // Receiving.

  Step takeFields(HTTP2HeaderBlock& block, bool isLast);
  /// Of all heads and the trailers so far, as `HTTP2HeaderBlock` counts them.
  std::size_t& fieldBytes() { return fieldBytes_; }
  Step takeBody(Bytes bytes);
  Step takeEnd();
  /// Tells the exchange, if there is one, that the server broke the protocol.
  Step malformed(std::string message);
  void fail(Failure failure);
  /// As `fail`; the server said that it did not look at the request.
  void refused(std::string message);

  /// Whether a byte of the response has arrived.
  bool responseBegan() const { return responseBegan_; }

  /// Whether the body is wanted at the moment. The bytes that the window is to be given back for now.
  std::size_t setReading(bool isWanted);
  /// So many bytes were taken. The bytes that the window is to be given back for now.
  std::size_t consumed(std::size_t count);

  /// The code by which the server reset the stream.
  std::optional<std::uint32_t> resetCode;

 private:
  friend class HTTP2StreamTable;
  enum class Upload : std::uint8_t { sending, waiting, stopped, complete };
  enum class Response : std::uint8_t { awaited, body, discarded };

  Step takeHead(HTTP2HeaderBlock& block, bool isLast);
  void tellFailure(Failure failure, Delivery delivery);

  HTTP2StreamTable& table_;
  std::size_t place_ = 0;
  RequestStream* exchange_ = nullptr;
  RequestBody* body_ = nullptr;
  Upload upload_ = Upload::complete;
  Response response_ = Response::awaited;
  bool isBegun_ = false;        // bytes of the request were given to the system
  bool responseBegan_ = false;  // bytes of the response arrived
  bool isReading_ = true;
  std::uint8_t interimResponses_ = 0;
  std::uint64_t bodyTaken_ = 0;
  std::uint64_t bodyWritten_ = 0;
  std::size_t fieldBytes_ = 0;
  std::size_t discardedBytes_ = 0;
  std::size_t withheldBytes_ = 0;
};

}  // namespace platform::networking
