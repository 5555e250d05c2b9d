#pragma once

#include <cstdint>

#include "Platform/Export.hpp"

namespace corvane {

/// How hard the gzip archiver tries: a zlib level. Any other number goes to zlib as it is, which refuses
/// what it does not know.
class CORVANE_API GZipCompression {
 public:
  /// Levels by name: stored as it is, the quickest, the smallest.
  static const GZipCompression none;
  static const GZipCompression bestSpeed;
  static const GZipCompression bestCompression;
  /// Lets zlib choose.
  static const GZipCompression default_;

  /// Any number; zlib has levels from 0 to 9, and -1 for its default.
  constexpr explicit GZipCompression(std::int32_t rawValue) : rawValue_(rawValue) {}
  /// The level as zlib counts it.
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
