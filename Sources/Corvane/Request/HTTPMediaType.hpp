#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Export.hpp"

namespace corvane {

/// A media type, exactly as it is written into a header. Any text makes one; it is neither checked nor changed.
///
///     HTTPMediaType::json            HTTPMediaType("text/csv")
class CORVANE_API HTTPMediaType {
 public:
  /// The types that requests name most often: "application/json", "text/plain", "multipart/form-data",
  /// "application/octet-stream", "image/png".
  static const HTTPMediaType json;
  static const HTTPMediaType textPlain;
  static const HTTPMediaType multipartFormData;
  static const HTTPMediaType applicationOctetStream;
  static const HTTPMediaType imagePNG;
  /// "application/jpeg", deliberately not an image type.
  static const HTTPMediaType imageJPEG;
  static const HTTPMediaType pdf;
  static const HTTPMediaType gzip;
  static const HTTPMediaType xml;
  /// "*/*".
  static const HTTPMediaType any;

  /// Any text, as it is to be sent.
  explicit HTTPMediaType(std::string rawValue) : text_(std::move(rawValue)) {}

  /// The text; the same as `value`.
  std::string rawValue() const { return value(); }
  /// The text.
  std::string value() const { return std::string(view()); }

  friend bool operator==(const HTTPMediaType& left, const HTTPMediaType& right) { return left.view() == right.view(); }

 private:
  struct Named {
    std::string_view text;
  };
  constexpr explicit HTTPMediaType(Named named) : named_(named.text) {}
  std::string_view view() const { return text_ ? std::string_view(*text_) : named_; }

  // The named values are compile-time constants, so that other constants can be made of them.
  std::string_view named_;
  std::optional<std::string> text_;
};

}  // namespace corvane
