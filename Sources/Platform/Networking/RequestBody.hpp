#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// How taking the next bytes of a request's body went.
enum class BodyStatus : std::uint8_t {
  bytes,    ///< there are some
  pending,  ///< there are none yet; `RequestStream::bodyReady` is called when there are
  end,      ///< there are no more
  failed    ///< they cannot be had; the body's maker keeps the reason
};

struct BodyRead {
  BodyStatus status = BodyStatus::end;
  std::size_t count = 0;
};

/// Where the body of a request comes from. Loop side only.
class RequestBody {
 public:
  virtual ~RequestBody() = default;

  /// How many bytes there are in all; absent when that is not known beforehand.
  virtual std::optional<std::uint64_t> length() const = 0;
  /// Begins again at the first byte. False when that is impossible: then the request is never sent twice.
  virtual bool rewind() = 0;
  /// What comes next and is in memory already, to be sent from where it is; empty when nothing is.
  virtual Bytes peek() { return {}; }
  /// The bytes that `peek` or `sendTo` gave were sent, so many of them.
  virtual void advance(std::size_t count) = 0;
  /// Copies the next bytes into the room, and advances.
  virtual BodyRead read(std::span<std::byte> room) = 0;
  /// Writes what comes next straight into a plain stream, at most `limit` bytes, and advances. Absent: this body cannot
  /// do it better than by `peek` or `read`.
  virtual std::optional<IOResult> sendTo(ByteStream& stream, std::size_t limit) {
    static_cast<void>(stream);
    static_cast<void>(limit);
    return std::nullopt;
  }
};

}  // namespace platform::networking
