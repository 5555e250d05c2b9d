#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/Failure.hpp"
#include "Platform/Networking/HTTP1/ChunkDecoder.hpp"
#include "Platform/Networking/HTTP1/FramingFields.hpp"
#include "Platform/Networking/RequestStream.hpp"

namespace platform::networking {

/// Reads the responses of one connection, one after the other, out of bytes that come as they like (RFC 9112). Heads
/// are read in place; nothing of the input is kept.
///
/// Refused, beyond what is no HTTP/1 at all, as `malformedResponse`:
/// - a space before a field's colon, a folded line, a CR or NUL inside a line (other control characters stay in values,
///   RFC 9110, 5.5). A line may end with a line feed alone (RFC 9112, 2.2);
/// - Content-Length fields that differ, or are no number (equal ones become one);
/// - a Transfer-Encoding that is not exactly "chunked". One beside a Content-Length wins, and one in HTTP/1.0 counts,
///   but the connection is not kept then (RFC 9112, 6.1);
/// - 101, as no upgrade is ever asked for; a status below 100. From 600 on a status is nobody's, but it is a final
///   response (RFC 9110, 15);
/// - more than the bounds below, and those of `ChunkDecoder`.
class ResponseParser {
 public:
  /// In all heads and trailers of a response together.
  static constexpr std::size_t maximumBytes = 262144;
  static constexpr std::size_t maximumLineBytes = 65536;
  /// In one head, and in the trailers.
  static constexpr std::size_t maximumFields = 1000;
  /// Heads with a status of 1xx before the final one.
  static constexpr std::size_t maximumInterimHeads = 200;

  enum class Event : std::uint8_t {
    incomplete,  ///< what was not consumed is the beginning of something; it must come again, with more after it
    interim,     ///< a head with a status of 1xx; another head follows
    head,        ///< the final head: `head()`
    body,        ///< bytes of the body
    end,         ///< the response is complete: `trailers()`
    failed       ///< `failure()`
  };
  struct Step {
    Event event = Event::incomplete;
    /// How much of the input is done with.
    std::size_t consumed = 0;
    /// With `body`: a part of the input.
    std::string_view body;
  };

  /// Ready for a response; `isHead`: to a request with the method HEAD.
  void begin(bool isHead);
  /// Ready for a proxy's response to CONNECT. What follows its head is the tunnel or, of a refusal, a body that nobody
  /// reads: Content-Length and Transfer-Encoding mean nothing, whatever they say (RFC 9110, 9.3.6).
  void beginTunnel();
  /// Reads on. To be called again, with what is left of the input even if that is nothing, until it says `incomplete`,
  /// `end` or `failed`.
  Step next(std::string_view input);
  /// The stream ended properly: `end` or `failed`.
  Event endOfStream();

  /// Whether any byte of the response has come.
  bool hasBegun() const { return hasBegun_; }
  int statusCode() const { return head_.statusCode; }
  /// After `interim` and `head`, as long as the input stays where it is, and until `next`.
  const ResponseHeadView& head() const { return head_; }
  /// After `end`, as `head`: the fields after a body in chunks.
  std::span<const FieldView> trailers() const { return views_; }
  const Failure& failure() const { return failure_; }
  /// After `head`: whether the end of this response can leave the connection ready for another one (RFC 9112, 9.3).
  bool mayKeepConnection() const;
  /// The same, of a response that ended.
  bool keepsConnection() const { return phase_ == Phase::ended && mayKeepConnection(); }

  /// How many bytes of the body come next without any framing between them. They may be read past the parser.
  std::uint64_t bodyAhead() const;
  /// So many of them were.
  void skipBody(std::uint64_t count);
  /// Gives back what memory an unusual response took.
  void shrink();

 private:
  enum class Phase : std::uint8_t { statusLine, fields, noBody, length, chunks, trailers, untilClose, ended, failed };

  /// Where a field stands in its section; the section may be elsewhere when it is given again.
  struct Field {
    std::uint32_t name = 0;
    std::uint32_t nameBytes = 0;
    std::uint32_t value = 0;
    std::uint32_t valueBytes = 0;
    bool isLength = false;
  };

  Step takeSection(std::string_view input);
  Step endSection(std::string_view input);
  Step takeLength(std::string_view input);
  Step takeChunks(std::string_view input);
  Step ended();
  Step failed(std::string message, FailureCause cause = FailureCause::malformedResponse);
  // False: refused, and `failure_` says why.
  bool refuse(std::string message);
  bool isWithinBounds(std::size_t lineEnd);
  bool takeLine(std::string_view line, const char* section);
  bool takeStatusLine(std::string_view line);
  bool takeField(std::string_view line, const char* section);
  bool refuseName(std::string_view name);
  void makeHead(std::string_view section);
  void makeViews(std::string_view section, bool withLengths);
  void beginSection(Phase phase);
  Phase bodyPhase() const;

  Phase phase_ = Phase::ended;
  bool isHead_ = false;
  bool isTunnel_ = false;
  bool hasBegun_ = false;
  char minorVersion_ = '1';
  // The section under way: a head, or the trailers.
  std::size_t lineStart_ = 0;
  std::size_t searched_ = 0;
  std::size_t earlierBytes_ = 0;
  std::size_t interimHeads_ = 0;
  std::vector<Field> fields_;
  std::vector<FieldView> views_;
  FramingFields framing_;
  ResponseHeadView head_;
  std::uint64_t remaining_ = 0;
  ChunkDecoder chunks_;
  Failure failure_;
};

}  // namespace platform::networking
