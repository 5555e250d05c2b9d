#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace platform::networking {

/// Takes the framing off a body in chunks (RFC 9112, 7.1), up to and including the line of the last chunk; the trailers
/// after it are fields as those of a head are.
///
/// Lines end with CRLF here, and with nothing less: a line feed alone ends a chunk's line for some recipients and not
/// for others. Extensions are skipped, but bounded.
class ChunkDecoder {
 public:
  /// The bytes of a line with a chunk's size, its end included.
  static constexpr std::size_t maximumLineBytes = 4096;
  /// The digits of a chunk's size. Zeros before it count.
  static constexpr std::size_t maximumDigits = 16;
  /// How many bytes of extensions there may be in all beyond the bytes of the body.
  static constexpr std::uint64_t extensionAllowance = std::uint64_t{64} * 1024;

  enum class Event : std::uint8_t {
    incomplete,  ///< all was consumed, and more is needed
    body,        ///< what was consumed ends with bytes of the body
    lastChunk,   ///< the line of the last chunk ended
    failed       ///< `problem` says why
  };
  struct Step {
    Event event = Event::incomplete;
    std::size_t consumed = 0;
    /// The bytes of the body at the end of what was consumed.
    std::size_t body = 0;
  };

  void reset() { *this = ChunkDecoder(); }
  Step next(std::string_view input);
  /// How many bytes of the present chunk come next.
  std::uint64_t bodyAhead() const { return phase_ == Phase::data ? remaining_ : 0; }
  /// So many of them were taken elsewhere. Requires: no more than `bodyAhead()`.
  void skipBody(std::uint64_t count);
  std::string_view problem() const { return problem_; }

 private:
  enum class Phase : std::uint8_t { firstDigit, digits, padding, extension, lineFeed, data, dataReturn, dataLineFeed };

  Event failed(std::string_view problem);
  Event take(char c);
  Event takeDigit(char c);
  Event takeAfterSize(char c);
  Event takeExtension(char c);
  Event endLine(char c);

  Phase phase_ = Phase::firstDigit;
  std::uint64_t remaining_ = 0;
  std::uint64_t bodyBytes_ = 0;
  std::uint64_t extensionBytes_ = 0;
  std::size_t digits_ = 0;
  std::size_t lineBytes_ = 0;
  std::string_view problem_;
};

}  // namespace platform::networking
