#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Networking/Streams/ByteStream.hpp"

namespace corvane::testkit {

/// The test's end of a connection that is made of memory: it scripts what the other end reads, and keeps what that one
/// writes. Outlives the stream, or not, as the test likes.
///
///     MemoryWire wire;
///     Connection connection(wire.makeStream());
///     wire.receive("HTTP/1.1 200 OK\r\n\r\n");
///     EXPECT_EQ(wire.takeWritten(), "GET / HTTP/1.1\r\n...");
class MemoryWire {
 public:
  static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

  struct Options {
    bool isSecure = false;
    /// Whether a read that empties the wire says so (`IOResult::isDrained`), as sockets in the clear do.
    bool saysDrained = true;
  };

  MemoryWire() : MemoryWire(Options{}) {}
  explicit MemoryWire(Options options);

  /// The other end. One at a time.
  std::unique_ptr<platform::networking::ByteStream> makeStream();
  /// Whether the other end exists still.
  bool hasStream() const;

  // What the other end reads. Each tells its owner, unless `queue` is the one that was called.

  /// A piece; no read crosses the end of one.
  void receive(std::string_view bytes);
  /// The same bytes, each a piece of its own, with one call to the owner for each.
  void receiveByteByByte(std::string_view bytes);
  /// A piece that the owner is not told of.
  void queue(std::string_view bytes);
  /// A piece that the owner is about to be told of, as by the next `receive`.
  void announce(std::string_view bytes);
  /// The proper end of the stream, after what is queued.
  void receiveEnd();
  /// A broken stream, after what is queued.
  void receiveFailure(platform::networking::Failure failure = {});

  // What the other end writes.

  /// From now on so many bytes are taken, then a write blocks. `unlimited`: all. Tells the owner when it waits.
  void allowWrites(std::size_t bytes);
  /// Of each write at most so many bytes are taken at once.
  void limitEachWrite(std::size_t bytes);
  /// After so many more bytes, writes fail.
  void failWritesAfter(std::size_t bytes, platform::networking::Failure failure = {});
  /// All that was written, and not taken before.
  const std::string& written() const;
  std::string takeWritten();

  /// How often the stream was asked.
  int reads() const;
  int writes() const;
  /// What the stream was told last to be still to come.
  std::uint64_t expected() const;
  /// Bytes that nobody has read yet.
  std::size_t unread() const;
  /// Whether the other end shut the stream down, or destroyed it.
  bool isShutDown() const;

 private:
  struct State;
  class Stream;

  void tellReadable();

  std::shared_ptr<State> state_;
};

}  // namespace corvane::testkit
