#pragma once

#include <nghttp2/nghttp2.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/HTTP2/HTTP2HeaderBlock.hpp"
#include "Platform/Networking/HTTP2/HTTP2Output.hpp"
#include "Platform/Networking/HTTP2/HTTP2Stream.hpp"

namespace platform::networking {

/// What an HTTP/2 session tells of the connection as a whole. Called in the middle of `HTTP2Session::receive` and
/// `HTTP2Session::pull`, which neither may be called again there.
class HTTP2SessionEvents {
 public:
  /// The server wants no more requests, and did not look at those beyond stream `last`.
  virtual void serverGoesAway(std::int32_t last, std::uint32_t code) = 0;
  /// The session is done with the stream, which was told of nothing if it is still attached.
  virtual void streamClosed(HTTP2Stream& stream, std::uint32_t code) = 0;
  /// A DATA frame of so many bytes is ready to be written.
  virtual void dataFramed(std::size_t count) = 0;

 protected:
  ~HTTP2SessionEvents() = default;
};

/// HTTP/2 framing, header compression and flow control (RFC 9113, RFC 7541), by nghttp2. Bytes in, bytes out; knows no
/// socket and no time.
class HTTP2Session {
 public:
  /// Enough for a gigabit at a round trip of 100 ms, and for one stream not to hold up the others.
  static constexpr std::int32_t connectionWindowBytes = std::int32_t{16} << 20;
  static constexpr std::uint32_t streamWindowBytes = std::uint32_t{4} << 20;
  /// However many the server would take.
  static constexpr std::size_t maximumStreams = 1000;

  explicit HTTP2Session(HTTP2SessionEvents& events);
  ~HTTP2Session();
  HTTP2Session(const HTTP2Session&) = delete;
  HTTP2Session& operator=(const HTTP2Session&) = delete;

  /// Queues the request of the stream's exchange; why that is impossible.
  std::optional<Failure> submit(HTTP2Stream& stream);
  /// Queues the end of a stream (RFC 9113, 7). Harmless when it is closed already.
  void reset(const HTTP2Stream& stream, std::uint32_t code);
  /// The body of the stream's request has bytes again.
  void resume(const HTTP2Stream& stream);
  /// Gives so many bytes of the stream's window back to the server.
  void giveBack(const HTTP2Stream& stream, std::size_t count);
  void ping();

  /// Takes bytes of the server, and tells streams. False: the session is of no use any more (`problem`).
  bool receive(Bytes bytes);
  /// Puts frames into the output until it is full or none is ready. Requires: it is empty. False as above.
  bool pull();
  HTTP2Output& output() { return output_; }

  /// How many streams the server takes at a time.
  std::size_t streamLimit() const;
  /// Whether all stream numbers are used up.
  bool isExhausted() const;
  /// A callback had no memory: the call under way throws `std::bad_alloc`, and the session is of no use any more.
  void noteOutOfMemory() { isOutOfMemory_ = true; }
  /// The last thing that was wrong with what the server sent; empty: nothing was.
  const std::string& problem() const { return problem_; }

 private:
  friend struct HTTP2Callbacks;

  void composeFields(const RequestHead& head);
  void setProblem(std::string_view text);
  void follow(HTTP2Stream& stream, HTTP2Stream::Step step);
  /// Tells the stream of something, and does what follows. Where memory runs out in that, its exchange fails.
  template <class Tell>
  void tell(HTTP2Stream& stream, Tell tell);
  bool isUsable() const;
  void requireMemory(std::ptrdiff_t result) const;

  HTTP2SessionEvents& events_;
  nghttp2_session* session_ = nullptr;
  HTTP2Output output_;
  HTTP2HeaderBlock block_;
  std::vector<nghttp2_nv> request_;
  std::string problem_;
  HTTP2Stream* opening_ = nullptr;  // whose head the next bytes of the session are
  bool hasGoneAway_ = false;        // the server said so
  bool isTerminated_ = false;       // the server broke the protocol, and was told so
  bool isOutOfMemory_ = false;
};

}  // namespace platform::networking
