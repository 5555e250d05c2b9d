#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Platform/Loading/Internal/BodySink.hpp"

namespace platform::detail {

/// How far one step of decoding came: so many bytes, or a failure.
struct DecodedStep {
  std::size_t count = 0;
  std::optional<LoadFailure> failure;
};

/// Undoes one content coding, piece by piece, as fast as the decoded bytes are wanted: a few bytes may stand for
/// gigabytes, and are kept as they are until those are asked for.
class DecoderStage {
 public:
  virtual ~DecoderStage() = default;
  /// Takes bytes off the front of `input`, and writes what they stand for into `room`, of at least a hundred bytes. No
  /// bytes: `input` is used up, and nothing is held back.
  virtual DecodedStep decode(Bytes& input, std::span<std::byte> room) = 0;
  /// The input is over: a failure (-1015) when it may not end here.
  virtual std::optional<LoadFailure> finish() = 0;
};

}  // namespace platform::detail
