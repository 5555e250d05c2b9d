#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "CorvaneTesting/Internal/Descriptor.hpp"
#include "CorvaneTesting/Internal/Event.hpp"

namespace corvane::testkit::detail {

/// Thrown to leave a connection's code from any depth: the client has gone, or the server stops.
struct ConnectionOver {};

/// Bytes to and from one client over a non-blocking socket. Every wait ends when the server stops.
class Stream {
 public:
  enum class Woke { readable, writable, left, latch, timedOut };

  Stream(Descriptor socket, const Event& stop);
  virtual ~Stream() = default;
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// At least one byte; zero at the client's end of stream.
  virtual std::size_t read(char* buffer, std::size_t size);
  /// Sends everything.
  virtual void write(std::string_view bytes);
  /// Sends what the socket takes at once; returns how much that was.
  virtual std::size_t writeWithoutWaiting(std::string_view bytes);
  /// Whether bytes that left the socket already still wait to be read.
  virtual bool holdsBytes() const { return false; }
  /// Says the good-bye that the layer above TCP has.
  virtual void sayGoodbye() {}

  /// Waits until the client sends something or leaves.
  Woke waitForBytes(std::optional<std::chrono::milliseconds> limit);
  /// Passes time, or waits for a latch (-1 for none); leaves by `ConnectionOver` when the client does.
  void pause(std::optional<std::chrono::milliseconds> duration, int latch = -1);
  /// Waits until the client leaves.
  [[noreturn]] void stall();

  void closeSending();
  /// Reads and forgets until the client ends its side, or the limit has passed.
  void drain(std::optional<std::chrono::milliseconds> limit);
  /// Makes the client see a reset when the socket is closed.
  void resetAtClose();
  /// Wakes the thread that waits for bytes: it sees the end of the stream. From any thread.
  void endReading();
  void close() { socket_.reset(); }
  std::string localAddress() const;

 protected:
  int socket() const { return socket_.value(); }
  /// Waits for any of the `poll` events or the latch.
  Woke wait(short events, std::optional<std::chrono::milliseconds> limit, int latch = -1) const;

 private:
  Descriptor socket_;
  const Event& stop_;
};

}  // namespace corvane::testkit::detail
