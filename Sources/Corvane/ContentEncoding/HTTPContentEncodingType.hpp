#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace corvane {

/// The name of a content coding as it is written on the wire (RFC 9110, 8.4.1).
class HTTPContentEncodingType {
 public:
  /// The coding "gzip" (RFC 1952).
  static HTTPContentEncodingType gzip() { return HTTPContentEncodingType("gzip"); }

  /// A coding by its name in "Content-Encoding".
  explicit HTTPContentEncodingType(std::string rawValue) : rawValue_(std::move(rawValue)) {}
  /// The name as it is sent.
  const std::string& rawValue() const { return rawValue_; }

  friend bool operator==(const HTTPContentEncodingType&, const HTTPContentEncodingType&) = default;

 private:
  std::string rawValue_;
};

}  // namespace corvane
