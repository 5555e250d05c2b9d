#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "Platform/Networking/Failure.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

using Bytes = std::span<const std::byte>;
inline Bytes bytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

/// How reading or writing went.
enum class IOStatus : std::uint8_t {
  done,        ///< `count` bytes were moved, at least one
  wouldBlock,  ///< nothing can be moved now; the owner is told when it can
  closed,      ///< reading only: the peer ended the stream properly (FIN; over TLS the closing alert)
  failed       ///< the stream is of no use any more; `ByteStream::failure` says why
};

struct IOResult {
  IOStatus status = IOStatus::wouldBlock;
  std::size_t count = 0;
  /// With `done`, reading: nothing more is there for the moment, so the next read would only say `wouldBlock`. The
  /// owner may end its iteration without asking.
  bool isDrained = false;
};

/// What a stream is there for.
class StreamOwner {
 public:
  /// There may be something to read: bytes, the end, or a failure. Edge-triggered: the owner reads until `wouldBlock`
  /// or `isDrained`, or comes back by itself (`EventLoop::defer`).
  virtual void streamReadable() = 0;
  /// Writing may go on. Told once after a write said `wouldBlock`; no need to expect it otherwise.
  virtual void streamWritable() = 0;

 protected:
  ~StreamOwner() = default;
};

/// A connection's bytes in both directions, whatever carries them. Never blocks, never raises SIGPIPE. Loop side only.
///
/// Reading works after the writing side failed, so that an early response can still be read. The owner may destroy
/// the stream inside of its callbacks.
class ByteStream {
 public:
  virtual ~ByteStream() = default;
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  /// Who is told from now on; null: nobody. A new owner reads once without being told first.
  void setOwner(StreamOwner* owner) { owner_ = owner; }

  virtual IOResult read(std::span<std::byte> room) = 0;
  /// To be called when all is read that is there: so many bytes at least are still to come, or 0 where that is not
  /// known. Where they come fast, the owner is then told when many are there, or a few milliseconds later: waking it
  /// for each packet slows down both the peer and the owner.
  virtual void expect(std::uint64_t count) { static_cast<void>(count); }
  /// Writes as much as goes of the pieces, in their order, with one call of the system where it can. `count` may be
  /// less than there is; the rest is to be tried again at once or when told.
  virtual IOResult write(std::span<const Bytes> pieces) = 0;
  /// Writes from a file, without a copy where the system can; `offset` is where to begin. `count` 0 with `done`: the
  /// file ends before `offset + count`. An unreadable file is `failed` with the cause `requestBody`.
  virtual IOResult sendFile(int file, off_t offset, std::size_t count) = 0;
  /// Announces that nothing more will be written, and closes as far as that is possible without waiting.
  virtual void shutDown() = 0;

  /// Whether there may be something to read that the owner is told of later in this iteration of the loop.
  virtual bool hasNews() const = 0;
  /// Whether the bytes are encrypted: then the end of the stream is authenticated, too.
  virtual bool isSecure() const = 0;
  /// Of the side that failed last.
  virtual const std::optional<Failure>& failure() const = 0;
  /// Until when bytes were held back here, by a limit of ours: the present while they are.
  virtual TimePoint heldBackUntil() const { return {}; }
  /// The socket below; for its addresses only.
  virtual int descriptor() const = 0;

 protected:
  ByteStream() = default;
  StreamOwner* owner() const { return owner_; }

 private:
  StreamOwner* owner_ = nullptr;
};

}  // namespace platform::networking
