#pragma once

#include <cstdint>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

/// The domain of errors about images, and its codes.
inline constexpr const char* UIImageErrorDomain = "UIImageErrorDomain";

namespace UIImageErrorCode {
inline constexpr std::int32_t unknownFormat = 1;  ///< neither PNG nor JPEG
inline constexpr std::int32_t notDecodable = 2;   ///< damaged, cut short, or of a kind that is not supported
inline constexpr std::int32_t tooLarge = 3;       ///< more pixels than allowed
}  // namespace UIImageErrorCode

/// A still picture, decoded from PNG or JPEG. It needs the library `Corvane::Image`, in addition to `Corvane::Corvane`.
/// Since it is constructed from `Data`, it can be the body of a response.
///
/// Every kind of PNG is read: grey, palette, colour, with alpha or not, 1 to 16 bits a channel (16 are rounded to 8),
/// interlaced or not. Colours with another gamma in the gAMA chunk are converted to 1/2.2. Of an animated PNG, the
/// still picture is read. JPEG is read with 8 bits a channel: baseline, extended and progressive, in grey, YCbCr, RGB,
/// CMYK and YCCK, the last two converted without a colour profile. Lossless, hierarchical and 12-bit JPEG, and
/// progressive JPEG of more than 100 scans, are not supported. The EXIF orientation of either format is applied;
/// embedded ICC profiles are not.
///
/// A value: copies share the pixels, and reading is safe on several threads.
class CORVANE_API UIImage {
 public:
  /// The default limit of pixels in a picture; they take 400 MB of memory.
  static constexpr std::uint64_t defaultMaximumPixelCount = 100'000'000;

  /// Decodes at once, on this thread. An image of more than `maximumPixelCount` pixels is refused before memory is
  /// allocated for its pixels: 4 bytes a pixel, and during decoding up to 8 more for a JPEG of several scans and 4 more
  /// for a rotated image. An image of 2^30 pixels or more is always refused.
  ///
  /// Throws `Error` in the domain `UIImageErrorDomain` for data that is not a complete, undamaged image, and
  /// `std::bad_alloc` if there is no memory for the pixels.
  explicit UIImage(const Data& data, std::uint64_t maximumPixelCount = defaultMaximumPixelCount);

  // Copied where others are moved from: an image always has its pixels.
  UIImage(const UIImage& other) noexcept = default;
  UIImage& operator=(const UIImage& other) noexcept = default;
  ~UIImage() = default;

  /// In pixels, as the picture is to be shown; never 0.
  std::uint32_t width() const noexcept { return width_; }
  /// In pixels, as the picture is to be shown; never 0.
  std::uint32_t height() const noexcept { return height_; }
  /// Red, green, blue and alpha of each pixel, a byte each, not premultiplied; rows from the top, without gaps.
  const Data& pixels() const noexcept { return pixels_; }

  /// Equal sizes and pixels.
  friend bool operator==(const UIImage& left, const UIImage& right) noexcept {
    return left.width_ == right.width_ && left.pixels_ == right.pixels_;
  }

 private:
  std::uint32_t width_;
  std::uint32_t height_;
  Data pixels_;
};

}  // namespace platform
