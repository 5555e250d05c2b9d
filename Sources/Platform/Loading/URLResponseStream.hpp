#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"

namespace platform {

/// The body of a response that is read while it arrives; made by `URLSession::streamTask`. Decoded from its content
/// codings.
///
/// The transport reads ahead until `bufferBytes` wait here, as they came over the network: they are decoded when they
/// are asked for, at most `pieceBytes` at a time. Then it stops reading until half of them are used up. Over HTTP/1.1
/// it may exceed the buffer by what one read delivers (64 KiB). Over HTTP/2 the server may use up the window of the
/// stream first (4 MiB); other streams of the connection go on. The idle time-out stands still while the transport does
/// not read.
///
/// For one consumer at a time, on any thread.
class CORVANE_API URLResponseStream {
 public:
  /// So many bytes are read ahead.
  static constexpr std::size_t bufferBytes = std::size_t{256} * 1024;
  /// The greatest length of a piece.
  static constexpr std::size_t pieceBytes = std::size_t{64} * 1024;

  /// What `next` came to.
  enum class Status : std::uint8_t {
    pending,  ///< nothing is there yet; see `whenReady`
    piece,    ///< there is a piece
    end,      ///< the body is complete, and was taken whole
    failed    ///< it is not, and never will be
  };
  /// The next step of the body.
  struct Step {
    /// What this step is.
    Status status = Status::pending;
    /// At least one byte; of a piece.
    Data piece = {};
    /// Of a failure.
    std::optional<Error> error = {};
  };

  /// Cancels the task, unless it is complete.
  virtual ~URLResponseStream();
  URLResponseStream(const URLResponseStream&) = delete;
  URLResponseStream& operator=(const URLResponseStream&) = delete;

  /// Takes the next piece, without waiting. The piece before it counts as used up from now on. The pieces that arrived
  /// before a failure come first; those before a cancellation are dropped.
  virtual Step next() = 0;
  /// Submits the block to the queue, once, as soon as `next` has something, which may be at once. Requires: the block
  /// of an earlier call was submitted.
  virtual void whenReady(DispatchQueue queue, Block block) = 0;

 protected:
  URLResponseStream() = default;
};

}  // namespace platform
