#include "Platform/Loading/DecodedBody.hpp"

#include <algorithm>
#include <span>

namespace platform::detail {

DecodedBody decodeBody(const HTTPHeaderFields& requestFields, const HTTPHeaderFields& fields, std::string_view body,
                       std::size_t pieceSize, ContentDecoder::Bounds bounds) {
  DecodedBody result;
  const auto keep = [&](Bytes bytes) {
    result.decoded.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    result.largestPiece = std::max(result.largestPiece, bytes.size());
    return std::nullopt;
  };
  auto choice = ContentDecoder::make(requestFields, fields, bounds);
  result.failure = choice.failure;
  if (!choice.decoder) return result;
  for (std::size_t at = 0; at < body.size() && !result.failure; at += pieceSize) {
    const std::string_view piece = body.substr(at, pieceSize);
    result.failure = choice.decoder->decode(std::as_bytes(std::span(piece.data(), piece.size())), keep);
  }
  if (!result.failure) result.failure = choice.decoder->finish();
  return result;
}

}  // namespace platform::detail
