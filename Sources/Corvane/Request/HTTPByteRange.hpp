#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "Platform/Export.hpp"

namespace corvane {

/// The bytes of a resource that a request asks for, in its "Range" field (RFC 9110, 14.2):
///
///     const DataGetRequest request(url, {.headers = {{"Range", HTTPByteRange::from(1000)},
///                                                    {"Accept-Encoding", "identity"}}});
///
/// A server that heeds it responds with 206, whose `HTTPContentRange` tells which bytes came; any server may ignore it
/// and respond with 200 and the whole, so compare the status; one that has no such bytes responds with 416. A range is
/// one of the encoded bytes: of a compressed response it cannot be decoded, hence the "Accept-Encoding".
class CORVANE_API HTTPByteRange {
 public:
  /// The bytes from `first` to `last`, both included, counted from 0. Traps unless 0 <= first <= last.
  static HTTPByteRange between(std::int64_t first, std::int64_t last);
  /// The bytes from `first` on. Traps when it is negative.
  static HTTPByteRange from(std::int64_t first);
  /// The last `count` bytes, or all if there are fewer. Traps unless it is positive.
  static HTTPByteRange last(std::int64_t count);

  /// The value of the field: "bytes=0-499", "bytes=1000-", "bytes=-500".
  const std::string& text() const { return text_; }

  friend bool operator==(const HTTPByteRange& left, const HTTPByteRange& right) = default;

 private:
  explicit HTTPByteRange(const std::string& numbers) : text_("bytes=" + numbers) {}

  std::string text_;
};

/// Prints the text.
CORVANE_API std::ostream& operator<<(std::ostream& stream, const HTTPByteRange& range);

}  // namespace corvane
