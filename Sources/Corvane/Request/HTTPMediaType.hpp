#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Export.hpp"

namespace corvane {

namespace detail {

constexpr bool isMediaTypeCharacter(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z') ||
         std::string_view("!#$%&'*+-.^_`|~").find(character) != std::string_view::npos;
}

constexpr bool isMediaTypePart(std::string_view text) {
  for (const char character : text)
    if (!isMediaTypeCharacter(character)) return false;
  return !text.empty();
}

/// A type and a subtype, then maybe parameters, of which nothing but visible characters is asked.
constexpr bool isMediaType(std::string_view text) {
  const std::string_view type = text.substr(0, text.find(';'));
  for (const char character : text)
    if (character < ' ' || character > '~') return false;
  const std::size_t slash = type.find('/');
  if (slash == std::string_view::npos) return false;
  std::string_view subtype = type.substr(slash + 1);
  if (type.size() < text.size() && subtype.ends_with(' ')) subtype.remove_suffix(1);
  return isMediaTypePart(type.substr(0, slash)) && isMediaTypePart(subtype);
}

}  // namespace detail

/// A media type, exactly as it is written into a header.
///
///     HTTPMediaType::json
///     HTTPMediaType acceptType = "text/csv";         // a literal, which the compiler checks (RFC 9110, 8.3.1)
///     HTTPMediaType(typeOf(file))                    // any text, as it is
class CORVANE_API HTTPMediaType {
 public:
  /// Common media types: "application/json", "text/plain", "multipart/form-data", "application/x-www-form-urlencoded",
  /// "application/octet-stream", "image/png".
  static const HTTPMediaType json;
  static const HTTPMediaType textPlain;
  static const HTTPMediaType multipartFormData;
  static const HTTPMediaType formURLEncoded;
  static const HTTPMediaType applicationOctetStream;
  static const HTTPMediaType imagePNG;
  /// "application/jpeg", deliberately not an image type.
  static const HTTPMediaType imageJPEG;
  static const HTTPMediaType pdf;
  static const HTTPMediaType gzip;
  static const HTTPMediaType xml;
  /// "*/*".
  static const HTTPMediaType any;

  /// A literal. Text that is not a media type does not compile.
  template <std::size_t size>
  consteval HTTPMediaType(
      const char (&literal)[size])  // NOLINT(google-explicit-constructor): types are written as text
      : named_(literal, size - 1) {
    if (!detail::isMediaType(named_)) throw "This text is no media type: write a type and a subtype, \"text/csv\"";
  }
  /// Any text, which is sent unchanged and unchecked.
  explicit HTTPMediaType(std::string rawValue) : text_(std::move(rawValue)) {}
  explicit HTTPMediaType(const char* rawValue) : text_(rawValue) {}

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
