#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace corvane {

/// The name of a content coding as it is written on the wire (RFC 9110, 8.4.1).
class HTTPContentEncodingType {
 public:
  /// The coding of RFC 1952: "gzip".
  static HTTPContentEncodingType gzip() { return HTTPContentEncodingType("gzip"); }

  /// Any name, as it is to stand in "Content-Encoding".
  explicit HTTPContentEncodingType(std::string rawValue) : rawValue_(std::move(rawValue)) {}
  /// The name as it is sent.
  const std::string& rawValue() const { return rawValue_; }

  friend bool operator==(const HTTPContentEncodingType&, const HTTPContentEncodingType&) = default;

 private:
  std::string rawValue_;
};

}  // namespace corvane
