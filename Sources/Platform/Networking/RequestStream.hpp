#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "Platform/Networking/Failure.hpp"
#include "Platform/Networking/RequestBody.hpp"
#include "Platform/Networking/RequestHead.hpp"

namespace platform::networking {

/// The head of a response. Its texts live until the call that hands it over returns.
struct ResponseHeadView {
  int statusCode = 0;
  /// "HTTP/1.1", "HTTP/1.0" or "HTTP/2".
  std::string_view httpVersion;
  /// As received, repeated fields each; over HTTP/2 without pseudo fields.
  std::span<const FieldView> fields;
  /// What the framing says of the body's length; -1 when it does not (chunks, until the end of the stream). 0 where
  /// there is no body (HEAD, 204, 304), whatever Content-Length says.
  std::int64_t bodyLength = -1;
  /// How many bytes the head was on the network; over HTTP/2 compressed.
  std::size_t headBytes = 0;
  /// Whether there can be a body at all.
  bool hasBody = true;
};

/// What is to become of a response's body.
enum class BodyDisposition : std::uint8_t {
  deliver,  ///< hand it on
  discard   ///< nobody wants it: read it if it is short, to keep the connection; otherwise give the connection up
};

/// What the server may have seen of a request that failed.
enum class Delivery : std::uint8_t {
  nothingSent,   ///< no byte of it left
  notProcessed,  ///< the server said that it did not look at it (REFUSED_STREAM, GOAWAY)
  unknown        ///< the server may have acted on it
};

/// A failure, and what is known beside its reason.
struct ExchangeFailure {
  Failure failure;
  Delivery delivery = Delivery::unknown;
  /// Whether a byte of the response had arrived.
  bool responseBegan = false;
};

/// One request and its response as a connection sees it, in both protocols the same: the connection asks it for the
/// request, and tells it of the response, in this order:
///
///     requestBegan  (bodySent)*  and meanwhile  (head (body)* end) | failed
///
/// `end` or `failed` comes exactly once, as the last call, unless the exchange is cancelled before
/// (`HTTPConnection::cancel`). Whatever a callback does, cancelling included, is allowed. Loop side only.
class RequestStream {
 public:
  // The request. What these give stays as it is until the end.
  virtual const RequestHead& requestHead() const = 0;
  /// Null when there is no body. It has been rewound.
  virtual RequestBody* requestBody() = 0;

  // Told by the connection.

  /// The first byte is about to be written; the head has so many.
  virtual void requestBegan(std::size_t headBytes) = 0;
  /// So many bytes of the request's body were given to the system so far.
  virtual void bodySent(std::uint64_t total) = 0;
  /// The request was written whole.
  virtual void requestEnded() = 0;
  /// Bytes of this exchange moved, in either direction: its idle time-out begins again. Not told of bytes that belong
  /// to the connection or to another exchange (pings, settings, window updates).
  virtual void progressed() = 0;
  /// The final head. Interim ones (1xx) are not told, but for `progressed`.
  virtual BodyDisposition head(const ResponseHeadView& head) = 0;
  /// So many bytes of the body as they came, without its framing. False: they cannot be used (the exchange knows why);
  /// the connection gives the exchange up, without another call, as by `HTTPConnection::cancel`.
  virtual bool body(Bytes bytes) = 0;
  /// Room for the body's next bytes, so that they need not be copied; may be empty. At least `count` bytes are known to
  /// follow. What was read into it is told by `bodyFilled`.
  virtual std::span<std::byte> bodyRoom(std::size_t count) {
    static_cast<void>(count);
    return {};
  }
  virtual bool bodyFilled(std::size_t count) {
    static_cast<void>(count);
    return true;
  }
  /// So many bytes of a body that nobody wants were read.
  virtual void bodyDiscarded(std::size_t count) { static_cast<void>(count); }
  /// The fields after the body, checked (RFC 9110, 6.5); told before `end`, if there are any.
  virtual void trailers(std::span<const FieldView> fields) { static_cast<void>(fields); }
  /// The response is complete.
  virtual void end() = 0;
  virtual void failed(ExchangeFailure failure) = 0;

 protected:
  ~RequestStream() = default;
};

}  // namespace platform::networking
