#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "CorvaneTesting/HeaderField.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/Moment.hpp"

namespace corvane::testkit {

namespace detail {
class ScriptWriter;
}

/// A chunk of a chunked body. The extension is sent as written and includes its semicolon: `{"abc", ";name=value"}`.
struct Chunk {
  /// The content. An empty chunk is left out, since it would end the body.
  std::string bytes;
  /// The text after the size, including its semicolon.
  std::string extension;

  /// A chunk with this content and an optional extension.
  Chunk(std::string chunkBytes, std::string chunkExtension = {})
      : bytes(std::move(chunkBytes)), extension(std::move(chunkExtension)) {}
  Chunk(const char* chunkBytes) : bytes(chunkBytes) {}
};

/// How a script ends a connection.
enum class Ending {
  /// Closed properly: with TLS, after the closing alert.
  close,
  /// Closed without notice: with TLS, the closing alert is missing, so that the stream counts as truncated.
  drop,
  /// Reset: the client sees "connection reset by peer".
  reset,
  /// The server's direction is closed properly; the client's direction stays open until the client closes it.
  halfClose,
  /// Nothing more happens until the client closes the connection or the server stops.
  stall,
};

/// A response of the server to one request, and the behaviour of the connection during the response.
///
/// ```
/// server.enqueue(MockResponse(200).header("X-A", "1").body("hello"));
/// server.enqueue(MockResponse().chunked({"one", "two"}).trailer("X-Sum", "3"));
/// server.enqueue(MockResponse().body("hello").dropConnection(Moment::insideBody, 2));
/// ```
///
/// Framing fields (`Content-Length`, `Transfer-Encoding`) are added as the body needs them, unless the response has a
/// field with either name: then only those are sent, right or wrong. Only `closeConnection` adds another field,
/// "Connection: close". Responses to HEAD, and responses with status 204 or 304, have no body.
///
/// Delays, latches and stalls end when the client closes its side of the connection, even if it only closes its sending
/// direction.
class MockResponse {
 public:
  /// The unit of every delay.
  using Milliseconds = std::chrono::milliseconds;

  /// A response with this status. The reason defaults to the registered phrase of the status.
  explicit MockResponse(int status = 200, std::optional<std::string> reason = std::nullopt);

  /// Sends exactly these bytes, whatever the request is. The bytes after the first empty line count as the body.
  static MockResponse raw(std::string bytes);

  // Head

  /// Adds a field; duplicates and order are kept.
  MockResponse& header(std::string name, std::string value);
  /// Adds the field "Content-Type".
  MockResponse& contentType(std::string type) { return header("Content-Type", std::move(type)); }
  /// Sets this "Content-Length", right or wrong. Call it twice for duplicate fields.
  MockResponse& contentLength(std::uint64_t length) { return header("Content-Length", std::to_string(length)); }
  /// Sends an interim head (100, 103 …) before the final one.
  MockResponse& interim(int status, std::vector<HeaderField> headers = {});

  // Body

  /// Sets the content. "Content-Length" is added unless the response has other framing.
  MockResponse& body(std::string bytes);
  /// A body of the type "application/json". The text is not checked.
  MockResponse& json(std::string text) { return contentType("application/json").body(std::move(text)); }
  /// A body of the type "text/plain", in UTF-8.
  MockResponse& text(std::string text) { return contentType("text/plain; charset=utf-8").body(std::move(text)); }
  /// The text, compressed, with `Content-Encoding: gzip`.
  MockResponse& gzipBody(std::string_view text);
  /// A body of any size that is generated while it is sent; `generatedBytes` returns the same bytes.
  MockResponse& generatedBody(std::uint64_t size);
  /// Sends these chunks; without chunks, the body as a single chunk.
  MockResponse& chunked(std::vector<Chunk> chunks = {});
  /// Sends the body in chunks of this size.
  MockResponse& chunkedBy(std::size_t chunkSize);
  /// Adds a trailer field to a chunked body.
  MockResponse& trailer(std::string name, std::string value);
  /// Omits the last chunk and the trailers. Does not close the connection by itself.
  MockResponse& withoutLastChunk();
  /// Sends no framing field: the end of the connection is the end of the body. Closes the connection properly.
  MockResponse& untilClose();

  // Pace

  /// Pauses at the moment; `afterBytes` is for the moments inside a head or a body, see `Moment`.
  MockResponse& delay(Moment moment, Milliseconds duration, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// Pauses between chunks, including the chunk that ends the body.
  MockResponse& delayChunks(Milliseconds duration);
  /// Sends at most this number of bytes of the response in each interval `tick`.
  MockResponse& throttle(std::size_t bytes, Milliseconds tick);
  /// Waits at the moment until the test opens the latch.
  MockResponse& hold(Moment moment, Latch latch, std::optional<std::uint64_t> afterBytes = std::nullopt);

  // The connection

  /// Responds after reading the request's head and `afterBytes` bytes of its body. The rest of the body is read after
  /// the response and discarded. After a request with "Expect: 100-continue", the connection is closed instead.
  MockResponse& beforeRequestBody(std::uint64_t afterBytes = 0);
  /// Sends `Connection: close`, and closes the connection properly after the response.
  MockResponse& closeConnection();
  /// Ends the connection in this way at the moment; `afterBytes` is for the moments inside a head or a body.
  MockResponse& end(Ending ending, Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::drop`.
  MockResponse& dropConnection(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::reset`.
  MockResponse& resetConnection(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::halfClose`.
  MockResponse& halfClose(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::stall`.
  MockResponse& stall(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// Sends unsolicited bytes when the connection has been idle for `whenIdle` after the response; with zero, right
  /// after the response. `TestServer::sendOnIdleConnections` does the same when the test calls it.
  MockResponse& extraBytesAfter(std::string bytes, Milliseconds whenIdle = Milliseconds(0));
  /// Closes the connection properly, without `Connection: close`, when it has been idle for `whenIdle` after the
  /// response.
  MockResponse& closeWhenIdle(Milliseconds whenIdle);

 private:
  friend class detail::ScriptWriter;

  struct Pause {
    Milliseconds duration;
  };
  struct Point {
    Moment moment;
    std::optional<std::uint64_t> afterBytes;
    std::variant<Pause, Latch, Ending> action;
  };
  struct IdleAction {
    Milliseconds after;
    std::optional<std::string> bytes;
  };
  enum class Framing { length, chunks, untilClose };

  std::optional<std::string> raw_;
  int status_ = 200;
  std::string reason_;
  std::vector<HeaderField> headers_;
  std::string interim_;
  std::string body_;
  std::optional<std::uint64_t> generatedSize_;
  Framing framing_ = Framing::length;
  std::vector<Chunk> chunks_;
  std::size_t chunkSize_ = 0;
  std::vector<HeaderField> trailers_;
  bool hasLastChunk_ = true;
  Milliseconds chunkDelay_{0};
  std::size_t throttleBytes_ = 0;
  Milliseconds throttleTick_{0};
  std::vector<Point> points_;
  std::vector<IdleAction> idleActions_;
  std::string extraBytes_;
  std::optional<std::uint64_t> respondsBeforeRest_;
  bool closes_ = false;
};

/// The registered reason phrase of a status, or "Unknown".
std::string reasonPhrase(int status);

/// The period of generated bytes: a prime, so that a shift by any power of two is detected.
constexpr std::uint64_t generatedPeriod = 251;
/// The bytes that `MockResponse::generatedBody` sends, starting at an offset.
std::string generatedBytes(std::size_t count, std::uint64_t offset = 0);

}  // namespace corvane::testkit
