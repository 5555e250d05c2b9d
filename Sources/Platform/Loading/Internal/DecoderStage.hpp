#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>

#include "Platform/Loading/Internal/BodySink.hpp"

namespace platform::detail {

/// Takes decoded bytes; a failure stops the decoding.
using ByteConsumer = std::function<std::optional<LoadFailure>(Bytes)>;

/// Undoes one content coding, piece by piece.
class DecoderStage {
 public:
  virtual ~DecoderStage() = default;
  /// Gives everything that `input` completes to `output`, in pieces of bounded size.
  virtual std::optional<LoadFailure> decode(Bytes input, const ByteConsumer& output) = 0;
  /// The input is over: a failure (-1015) when it may not end here.
  virtual std::optional<LoadFailure> finish() = 0;

 protected:
  /// How much is decoded before it is passed on.
  static constexpr std::size_t pieceBytes = 32768;
};

}  // namespace platform::detail
