#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Loading/Internal/ContentDecoder.hpp"

namespace platform::detail {

/// What a content decoder made of a body.
struct DecodedBody {
  std::string decoded;
  std::optional<LoadFailure> failure;
  /// The largest piece that was passed on at once.
  std::size_t largestPiece = 0;

  std::int32_t code() const { return failure ? failure->code : 0; }
  std::string message() const { return failure ? failure->message : ""; }
};

/// Decodes a body whose bytes arrive `pieceSize` at a time, with the fields of its request and response.
DecodedBody decodeBody(const HTTPHeaderFields& requestFields, const HTTPHeaderFields& fields, std::string_view body,
                       std::size_t pieceSize, ContentDecoder::Bounds bounds);

}  // namespace platform::detail
