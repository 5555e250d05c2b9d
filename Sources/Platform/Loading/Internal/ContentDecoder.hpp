#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
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

  /// Takes the decoded bytes, in pieces; a failure stops the decoding.
  using Sink = std::function<std::optional<LoadFailure>(Bytes)>;
  /// How much is decoded before it is passed on.
  static constexpr std::size_t pieceBytes = 32768;

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
  static Choice make(const HTTPHeaderFields& requestFields, const HTTPHeaderFields& responseFields, Bounds bounds);

  ContentDecoder(const ContentDecoder&) = delete;
  ContentDecoder& operator=(const ContentDecoder&) = delete;

  /// Decodes all of it, for the sink.
  std::optional<LoadFailure> decode(Bytes input, const Sink& sink);
  /// Decodes some of it, as `DecoderStage::decode` does.
  DecodedStep decode(Bytes& input, std::span<std::byte> room);
  /// The body is over. A body without any byte is complete whatever its codings.
  std::optional<LoadFailure> finish();

 private:
  /// One coding, and what was undone of those before it and waits for this one.
  struct Link {
    std::unique_ptr<DecoderStage> stage;
    std::int64_t maximumBytes = 0;
    std::int64_t decodedBytes = 0;
    std::unique_ptr<std::byte[]> buffer;
    Bytes input;
  };
  using Stages = std::vector<std::unique_ptr<DecoderStage>>;

  ContentDecoder(Stages stages, Bounds bounds);
  DecodedStep decode(std::size_t place, Bytes& input, std::span<std::byte> room);
  std::optional<LoadFailure> boundsFailure(const Link& link) const;

  const Bounds bounds_;
  std::vector<Link> links_;  ///< in the order of decoding
  std::unique_ptr<std::byte[]> piece_;
  std::int64_t inputBytes_ = 0;
};

}  // namespace platform::detail
