#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"

namespace platform::detail {

enum class HeadEvent {
  more,      ///< the line was taken, the head goes on
  interim,   ///< a 1xx head ended; another head follows
  complete,  ///< the final head ended with its blank line; the body, if any, follows
  trailer    ///< a field behind the body, checked and dropped
};

/// How the end of the body shows (RFC 9112, 6.3).
enum class BodyFraming {
  none,       ///< there is no body: HEAD, 204, 304
  length,     ///< after `contentLength()` bytes
  chunked,    ///< with the last chunk
  untilClose  ///< with the connection; from HTTP/2 on with the stream
};

/// Collects the heads of one response, line by line as they arrive, and refuses what another recipient
/// might read differently.
///
/// Every failure is -1017 (`cannotParseResponse`). Beyond the grammar these are refused:
/// - more than 256 KiB in all heads and trailers together;
/// - a blank between a field's name and its colon (RFC 9112, 5.1); a control character other than tab, a
///   CR inside a line;
/// - Content-Length fields that differ, or are no number (equal ones become one);
/// - a Transfer-Encoding that is not exactly "chunked", as no other was asked for; one in HTTP/1.0 or in
///   HTTP/2; and one beside a Content-Length, which is how responses are smuggled (RFC 9112, 6.1 and 11.2);
/// - a folded Content-Length or Transfer-Encoding. Other folds become one blank (RFC 9112, 5.2);
/// - 101, as no upgrade is ever asked for; a status below 100. From 600 on a status is nobody's, but it is
///   a final answer (RFC 9110, 15) and the application sees it;
/// - more than five content codings.
class ResponseHead {
 public:
  static constexpr std::size_t maximumBytes = 262144;
  static constexpr std::size_t maximumContentCodings = 5;

  using Result = std::variant<HeadEvent, LoadFailure>;

  /// `method` is that of the request.
  explicit ResponseHead(std::string_view method = "GET") { reset(method); }
  /// Ready for another response; keeps its memory.
  void reset(std::string_view method);

  /// Takes one raw line with its line end. After a failure every call gives that failure again.
  Result consume(std::string_view line);

  /// Whether the blank line of a final head has arrived. Until then the values below are of no use.
  bool isComplete() const { return phase_ == Phase::trailers; }
  /// Whether any line has arrived.
  bool hasBegun() const { return bytes_ > 0; }
  int statusCode() const { return statusCode_; }
  /// As received, e.g. "HTTP/1.1" or "HTTP/2".
  const std::string& httpVersion() const { return httpVersion_; }
  const HTTPHeaderFields& fields() const { return fields_; }
  HTTPHeaderFields takeFields() { return std::move(fields_); }
  BodyFraming framing() const { return framing_; }
  /// With `BodyFraming::length` only.
  std::int64_t contentLength() const { return contentLength_; }

 private:
  enum class Phase { statusLine, fields, trailers, failed };
  using Problem = std::optional<std::string>;

  Result failed(std::string message);
  Problem takeLine(std::string_view line, HeadEvent& event);
  Problem takeStatusLine(std::string_view line);
  Problem takeFieldLine(std::string_view line);
  Problem takeFold(std::string_view line);
  void storePendingField();
  Problem endHead(HeadEvent& event);
  Problem decideFraming();
  Problem checkTransferEncoding() const;
  Problem checkContentCodings() const;
  bool isWithoutBody() const;

  Phase phase_ = Phase::statusLine;
  std::size_t bytes_ = 0;
  bool isHeadRequest_ = false;
  int statusCode_ = 0;
  std::string httpVersion_;
  HTTPHeaderFields fields_;
  BodyFraming framing_ = BodyFraming::none;
  std::int64_t contentLength_ = 0;
  // The field whose line came last; it may still be continued by a fold.
  bool hasPendingField_ = false;
  std::string pendingName_;
  std::string pendingValue_;
  LoadFailure failure_;
};

}  // namespace platform::detail
