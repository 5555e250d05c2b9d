#pragma once

#include <cstdint>
#include <string_view>

#include "Platform/Foundation/Data.hpp"

namespace platform::detail {

/// Rows of RGBA pixels as `UIImage` describes them.
struct PixelBuffer {
  static constexpr std::size_t bytesPerPixel = 4;

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Data bytes;
};

/// A buffer with unspecified pixels. Throws `Error` when it would have more than `maximumPixelCount`.
PixelBuffer makePixelBuffer(std::uint32_t width, std::uint32_t height, std::uint64_t maximumPixelCount);

/// The picture turned and mirrored the way that an EXIF orientation, 1 to 8, asks for.
PixelBuffer upright(PixelBuffer stored, int orientation);

/// For an image of a known format ("PNG") that cannot be read for a reason.
[[noreturn]] void throwNotDecodable(std::string_view format, std::string_view reason);

}  // namespace platform::detail
