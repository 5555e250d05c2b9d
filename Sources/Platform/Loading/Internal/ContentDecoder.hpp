#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/Internal/DecoderStage.hpp"

namespace platform::detail {

/// Undoes the content codings of a response (RFC 9110, 8.4) while it arrives.
///
/// Known are gzip and x-gzip, deflate, compress and x-compress, and identity, up to five one after the
/// other; br and zstd where the library was built with them and the request's "Accept-Encoding" names them. Memory
/// stays bounded however far the content expands. Failures:
/// - -1016 for a coding that is not known, -1017 for more than five: before the body;
/// - -1015 for damaged data, for bytes after its end, and for data that ends early;
/// - -1103 as soon as the decoded body exceeds its bound.
///
/// After a failure no further call is allowed. For one thread.
class ContentDecoder {
 public:
  static constexpr std::size_t maximumCodings = 5;
  /// In memory, content of more than `freeExpansionBytes` may be at most this many times as long as what was received.
  static constexpr std::int64_t maximumExpansion = 100;
  static constexpr std::int64_t freeExpansionBytes = std::int64_t{64} << 20;

  /// Takes the decoded bytes, in pieces.
  using Sink = ByteConsumer;

  struct Bounds {
    std::int64_t maximumBytes = 0;
    /// Content that goes to a file takes no memory, and may expand as it likes.
    bool limitsExpansion = true;
  };

  /// What `make` found: a decoder, a failure, or neither when there is nothing to decode.
  struct Choice {
    std::unique_ptr<ContentDecoder> decoder;
    std::optional<LoadFailure> failure;
  };
  static Choice make(const HTTPHeaderFields& requestFields, const HTTPHeaderFields& responseFields, Bounds bounds,
                     Sink sink);

  ContentDecoder(const ContentDecoder&) = delete;
  ContentDecoder& operator=(const ContentDecoder&) = delete;

  std::optional<LoadFailure> decode(Bytes input);
  /// The body is over. A body without any byte is complete whatever its codings.
  std::optional<LoadFailure> finish();

 private:
  using Stages = std::vector<std::unique_ptr<DecoderStage>>;

  ContentDecoder(Stages stages, Bounds bounds, Sink sink);
  ByteConsumer bounded(std::int64_t maximumBytes, ByteConsumer next) const;
  std::optional<LoadFailure> boundsFailure(std::int64_t decodedBytes, std::int64_t maximumBytes) const;

  const Bounds bounds_;
  // In the order of decoding; each stage's bytes go to the consumer of its index.
  Stages stages_;
  std::vector<ByteConsumer> consumers_;
  std::int64_t inputBytes_ = 0;
};

}  // namespace platform::detail
