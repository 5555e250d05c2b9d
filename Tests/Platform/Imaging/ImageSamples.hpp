#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace samples {

/// The bytes given as numbers.
std::string bytes(std::initializer_list<int> values);
std::string repeated(std::string_view text, std::size_t count);

/// PNG files, put together by hand.
enum class PNGColour { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };
inline constexpr std::string_view pngSignature = "\x89PNG\r\n\x1A\n";

std::string pngChunk(std::string_view type, std::string_view content);
std::string pngHeader(std::uint32_t width, std::uint32_t height, int bitDepth, PNGColour colour,
                      bool isInterlaced = false);
/// The rows as they are, without filters.
std::string pngRows(const std::vector<std::string>& rows);
/// A whole file: the header, more chunks, the rows and the end.
std::string png(std::string_view header, const std::vector<std::string>& rows, std::string_view chunks = {});

/// EXIF data (a TIFF file) that tells nothing but an orientation.
std::string exif(int orientation, bool isBigEndian = false);

/// JPEG files, made by libjpeg at its best quality. A block of 8 x 8 equal samples comes out as it went in, unless
/// its colours are converted.
enum class JPEGColours { grey, rgb, rgbAsYCbCr, cmyk, cmykAsYCCK };
enum class JPEGScans { one, onePerChannel, progressive };

struct JPEGSample {
  unsigned int width = 8;
  unsigned int height = 8;
  JPEGColours colours = JPEGColours::rgb;
  JPEGScans scans = JPEGScans::one;
  bool hasAdobeMarker = true;
  std::string exif;  ///< what stands after "Exif\0\0"
};

/// `channels` holds the rows, a byte for each channel of each pixel.
std::string jpeg(const JPEGSample& sample, std::string_view channels);

}  // namespace samples
