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

namespace corvane::testing {

namespace detail {
class ScriptWriter;
}

/// One chunk of a chunked body. The extension is sent as written, its semicolon included: `{"abc", ";name=value"}`.
struct Chunk {
  /// The content; an empty chunk is left out, since it would end the body.
  std::string bytes;
  /// What stands after the size, its semicolon included.
  std::string extension;

  /// The content, and an extension if there is one.
  Chunk(std::string chunkBytes, std::string chunkExtension = {})
      : bytes(std::move(chunkBytes)), extension(std::move(chunkExtension)) {}
  Chunk(const char* chunkBytes) : bytes(chunkBytes) {}
};

/// What happens to a connection when a script ends it.
enum class Ending {
  /// Closed in good order: with TLS, the closing alert comes first.
  close,
  /// Closed without a word: with TLS, the closing alert is missing, so the stream counts as cut off.
  drop,
  /// Reset: the client sees "connection reset by peer".
  reset,
  /// The server's direction is closed in good order; the client's stays open until it leaves.
  halfClose,
  /// Nothing more happens until the client leaves or the server stops.
  stall,
};

/// What the server says to one request, and how it behaves while it says it.
///
/// ```
/// server.enqueue(MockResponse(200).header("X-A", "1").body("hello"));
/// server.enqueue(MockResponse().chunked({"one", "two"}).trailer("X-Sum", "3"));
/// server.enqueue(MockResponse().body("hello").dropConnection(Moment::insideBody, 2));
/// ```
///
/// Framing fields (`Content-Length`, `Transfer-Encoding`) are added as the body needs them, unless the response
/// has a field of either name: then only what was written is sent, right or wrong. Nothing else is added, but
/// `Connection: close` by `closeConnection`. Responses to HEAD and those of status 204 and 304 send no body.
///
/// Delays, latches and stalls end when the client closes its side of the connection, be it only half of it.
class MockResponse {
 public:
  /// The unit of every delay.
  using Milliseconds = std::chrono::milliseconds;

  /// The reason defaults to the registered phrase of the status.
  explicit MockResponse(int status = 200, std::optional<std::string> reason = std::nullopt);

  /// Sends exactly these bytes, whatever the request was. What follows the first empty line counts as the body.
  static MockResponse raw(std::string bytes);

  // Head

  /// Adds a field; duplicates and order are kept.
  MockResponse& header(std::string name, std::string value);
  /// Adds the field "Content-Type".
  MockResponse& contentType(std::string type) { return header("Content-Type", std::move(type)); }
  /// Claims this length, true or not; call it twice for duplicated fields.
  MockResponse& contentLength(std::uint64_t length) { return header("Content-Length", std::to_string(length)); }
  /// Sends an interim head (100, 103 …) before the final one.
  MockResponse& interim(int status, std::vector<HeaderField> headers = {});

  // Body

  /// The content, with its length as a field unless the response says otherwise.
  MockResponse& body(std::string bytes);
  /// A body of the type "application/json". The text is not looked at.
  MockResponse& json(std::string text) { return contentType("application/json").body(std::move(text)); }
  /// A body of the type "text/plain", in UTF-8.
  MockResponse& text(std::string text) { return contentType("text/plain; charset=utf-8").body(std::move(text)); }
  /// The text, compressed, with `Content-Encoding: gzip`.
  MockResponse& gzipBody(std::string_view text);
  /// A body of any size that is made while it is sent; `generatedBytes` gives the same bytes.
  MockResponse& generatedBody(std::uint64_t size);
  /// Sends these chunks; without any, the body as one.
  MockResponse& chunked(std::vector<Chunk> chunks = {});
  /// Sends the body in chunks of this size.
  MockResponse& chunkedBy(std::size_t chunkSize);
  /// Adds a trailer field to a chunked body.
  MockResponse& trailer(std::string name, std::string value);
  /// Leaves out the last chunk and the trailers. The connection stays as the response otherwise says.
  MockResponse& withoutLastChunk();
  /// No framing field: the end of the connection is the end of the body. Closes in good order.
  MockResponse& untilClose();

  // Pace

  /// Pauses at that moment; `afterBytes` is for the moments inside of something, see `Moment`.
  MockResponse& delay(Moment moment, Milliseconds duration, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// Pauses between chunks, the one that ends the body included.
  MockResponse& delayChunks(Milliseconds duration);
  /// Sends at most so many bytes of the response every tick.
  MockResponse& throttle(std::size_t bytes, Milliseconds tick);
  /// Waits at the moment until the test opens the latch.
  MockResponse& hold(Moment moment, Latch latch, std::optional<std::uint64_t> afterBytes = std::nullopt);

  // The connection

  /// Answers once the request's head was read, and that many bytes of its body; what the client still sends is read
  /// afterwards and forgotten. After a request that expected "100-continue" the connection is closed instead.
  MockResponse& beforeRequestBody(std::uint64_t afterBytes = 0);
  /// Says `Connection: close` and closes in good order after the response.
  MockResponse& closeConnection();
  /// Ends the connection in that way at that moment; `afterBytes` is for the moments inside of something.
  MockResponse& end(Ending ending, Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::drop`.
  MockResponse& dropConnection(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::reset`.
  MockResponse& resetConnection(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::halfClose`.
  MockResponse& halfClose(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// `end` with `Ending::stall`.
  MockResponse& stall(Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt);
  /// Sends unsolicited bytes, once the connection has been idle that long after the response. With zero they
  /// leave right after the response. `TestServer::sendOnIdleConnections` does the same at the test's word.
  MockResponse& extraBytesAfter(std::string bytes, Milliseconds whenIdle = Milliseconds(0));
  /// Closes in good order, unannounced, once the connection has been idle that long after the response.
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

/// The period of generated bytes: a prime, so that a shift by any power of two shows.
constexpr std::uint64_t generatedPeriod = 251;
/// The bytes that `MockResponse::generatedBody` sends, from an offset on.
std::string generatedBytes(std::size_t count, std::uint64_t offset = 0);

}  // namespace corvane::testing
