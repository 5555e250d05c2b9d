#pragma once

#include <cstdint>

#include "Platform/Export.hpp"

namespace corvane {

/// The compression level of the gzip archiver: a level of zlib. Numbers are passed to zlib unchanged, which refuses
/// unknown levels.
class CORVANE_API GZipCompression {
 public:
  /// Named levels: no compression, fastest, smallest.
  static const GZipCompression none;
  static const GZipCompression bestSpeed;
  static const GZipCompression bestCompression;
  /// The default level of zlib.
  static const GZipCompression default_;

  /// A level by number; zlib has levels from 0 to 9, and -1 for its default.
  constexpr explicit GZipCompression(std::int32_t rawValue) : rawValue_(rawValue) {}
  /// zlib's number of the level.
  constexpr std::int32_t rawValue() const { return rawValue_; }

  friend constexpr bool operator==(GZipCompression, GZipCompression) = default;

 private:
  std::int32_t rawValue_;
};

inline constexpr GZipCompression GZipCompression::none{0};
inline constexpr GZipCompression GZipCompression::bestSpeed{1};
inline constexpr GZipCompression GZipCompression::bestCompression{9};
inline constexpr GZipCompression GZipCompression::default_{-1};

}  // namespace corvane
