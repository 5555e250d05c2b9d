#include "Platform/Imaging/Internal/PixelBuffer.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Imaging/UIImage.hpp"

namespace platform::detail {

namespace {

// The size in bytes stays below 2^32, which is what libpng's simplified reading can do.
constexpr std::uint64_t highestPixelCount = (std::uint64_t{1} << 30) - 1;

/// Where the pixels of the upright picture are found among those stored: the first one, and how far it is, in pixels,
/// from one to its neighbour on the right and from one to its neighbour below.
struct Walk {
  std::ptrdiff_t first;
  std::ptrdiff_t right;
  std::ptrdiff_t below;
};

Walk walk(std::ptrdiff_t width, std::ptrdiff_t height, int orientation) {
  const std::ptrdiff_t lastInRow = width - 1;
  const std::ptrdiff_t lastRow = width * (height - 1);
  switch (orientation) {
    case 2:
      return {lastInRow, -1, width};
    case 3:
      return {lastRow + lastInRow, -1, -width};
    case 4:
      return {lastRow, 1, -width};
    case 5:
      return {0, width, 1};
    case 6:
      return {lastRow, -width, 1};
    case 7:
      return {lastRow + lastInRow, -width, -1};
    case 8:
      return {lastInRow, width, -1};
    default:
      return {0, 1, width};
  }
}

}  // namespace

PixelBuffer makePixelBuffer(std::uint32_t width, std::uint32_t height, std::uint64_t maximumPixelCount) {
  const std::uint64_t allowed = std::min(maximumPixelCount, highestPixelCount);
  const std::uint64_t count = std::uint64_t{width} * height;
  if (count > allowed) {
    throw Error(UIImageErrorDomain, UIImageErrorCode::tooLarge,
                "The image has " + std::to_string(width) + " x " + std::to_string(height) + " pixels, more than the " +
                    std::to_string(allowed) + " allowed");
  }
  PixelBuffer buffer{width, height, Data::withCapacity(count * PixelBuffer::bytesPerPixel)};
  buffer.bytes.resize(count * PixelBuffer::bytesPerPixel);
  return buffer;
}

PixelBuffer upright(PixelBuffer stored, int orientation) {
  if (orientation < 2 || orientation > 8) return stored;
  const bool isLying = orientation >= 5;
  const std::uint32_t width = isLying ? stored.height : stored.width;
  const std::uint32_t height = isLying ? stored.width : stored.height;
  PixelBuffer turned = makePixelBuffer(width, height, highestPixelCount);

  const Walk way = walk(stored.width, stored.height, orientation);
  const std::byte* const from = stored.bytes.bytes();
  std::byte* to = turned.bytes.mutableBytes();
  for (std::ptrdiff_t y = 0; y < height; ++y) {
    for (std::ptrdiff_t x = 0; x < width; ++x, to += PixelBuffer::bytesPerPixel) {
      const auto pixel = static_cast<std::size_t>(way.first + x * way.right + y * way.below);
      std::memcpy(to, from + pixel * PixelBuffer::bytesPerPixel, PixelBuffer::bytesPerPixel);
    }
  }
  return turned;
}

void throwNotDecodable(std::string_view format, std::string_view reason) {
  throw Error(UIImageErrorDomain, UIImageErrorCode::notDecodable,
              "The " + std::string(format) + " image cannot be read: " + std::string(reason));
}

}  // namespace platform::detail
