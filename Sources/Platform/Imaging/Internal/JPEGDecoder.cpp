#include "Platform/Imaging/Internal/JPEGDecoder.hpp"

// jpeglib.h needs these two first.
#include <cstddef>
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <string_view>
#include <utility>

#include "Platform/Imaging/Internal/EXIFOrientation.hpp"

namespace platform::detail {

namespace {

using namespace std::string_view_literals;

// Encoders make about ten. Each costs a pass over all pixels, however few bytes it has.
constexpr int maximumScans = 100;
constexpr int exifMarker = JPEG_APP0 + 1;
constexpr unsigned int maximumMarkerSize = 0xFFFF;
constexpr std::string_view exifPrefix = "Exif\0\0"sv;

/// libjpeg's way to tell of errors, and where to go on after one.
struct ErrorManager : jpeg_error_mgr {
  std::jmp_buf afterFailure;
  char reason[JMSG_LENGTH_MAX];
};

[[noreturn]] void leave(j_common_ptr common) { std::longjmp(static_cast<ErrorManager*>(common->err)->afterFailure, 1); }

[[noreturn]] void fail(j_common_ptr common) {
  common->err->format_message(common, static_cast<ErrorManager*>(common->err)->reason);
  leave(common);
}

/// Most warnings mean that pixels are missing and have been made up.
void warn(j_common_ptr common, int level) {
  constexpr int warning = -1;
  if (level != warning) return;
  switch (common->err->msg_code) {
    case JWRN_ADOBE_XFORM:
    case JWRN_EXTRANEOUS_DATA:  // between segments, as some cameras have it
    case JWRN_JFIF_MAJOR:
      return;
    default:
      fail(common);
  }
}

void checkScanCount(j_common_ptr common) {
  if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number <= maximumScans) return;
  std::snprintf(static_cast<ErrorManager*>(common->err)->reason, JMSG_LENGTH_MAX, "it has more than %d scans",
                maximumScans);
  leave(common);
}

/// From three bytes a pixel to four, from the last pixel to the first so that none is overwritten before it is read.
void addAlpha(JSAMPLE* row, std::size_t width) {
  for (std::size_t pixel = width; pixel-- > 0;) {
    const JSAMPLE* const from = row + pixel * 3;
    const JSAMPLE colour[] = {from[0], from[1], from[2], 0xFF};
    std::copy(std::begin(colour), std::end(colour), row + pixel * 4);
  }
}

/// Adobe's programs write CMYK with 255 for no ink; a file without an Adobe marker does not.
void convertCMYK(JSAMPLE* row, std::size_t width, bool isInverted) {
  for (std::size_t pixel = 0; pixel < width; ++pixel, row += 4) {
    const auto light = [&](int channel) { return isInverted ? row[channel] : 255 - row[channel]; };
    const int black = light(3);
    for (int channel = 0; channel < 3; ++channel) {
      row[channel] = static_cast<JSAMPLE>((light(channel) * black + 127) / 255);
    }
    row[3] = 0xFF;
  }
}

/// One decoding. Errors leave libjpeg by a long jump, so the functions that call it hold nothing that has a
/// destructor; they return false, and then `reason` tells why.
class JPEGReader {
 public:
  explicit JPEGReader(std::span<const std::byte> bytes) : bytes_(bytes) {
    state_.err = jpeg_std_error(&errors_);
    errors_.error_exit = fail;
    errors_.emit_message = warn;
    progress_.progress_monitor = checkScanCount;
  }
  JPEGReader(const JPEGReader&) = delete;
  JPEGReader& operator=(const JPEGReader&) = delete;
  ~JPEGReader() { jpeg_destroy_decompress(&state_); }

  std::uint32_t width() const { return state_.image_width; }
  std::uint32_t height() const { return state_.image_height; }
  std::string_view reason() const { return errors_.reason; }

  [[nodiscard]] bool readHeader() noexcept {
    if (setjmp(errors_.afterFailure) != 0) return false;
    jpeg_create_decompress(&state_);
    state_.progress = &progress_;
    jpeg_mem_src(&state_, reinterpret_cast<const unsigned char*>(bytes_.data()), bytes_.size());
    jpeg_save_markers(&state_, exifMarker, maximumMarkerSize);
    jpeg_read_header(&state_, TRUE);
    return true;
  }

  [[nodiscard]] bool readPixels(std::byte* pixels) noexcept {
    if (setjmp(errors_.afterFailure) != 0) return false;
    const bool hasInk = state_.jpeg_color_space == JCS_CMYK || state_.jpeg_color_space == JCS_YCCK;
    state_.out_color_space = hasInk ? JCS_CMYK : JCS_RGB;
    jpeg_start_decompress(&state_);
    while (state_.output_scanline < state_.output_height) {
      const std::size_t rowSize = std::size_t{state_.output_width} * PixelBuffer::bytesPerPixel;
      JSAMPROW row = reinterpret_cast<JSAMPROW>(pixels) + state_.output_scanline * rowSize;
      jpeg_read_scanlines(&state_, &row, 1);
      if (hasInk) {
        convertCMYK(row, state_.output_width, state_.saw_Adobe_marker != FALSE);
      } else {
        addAlpha(row, state_.output_width);
      }
    }
    jpeg_finish_decompress(&state_);
    return true;
  }

  int orientation() const {
    for (const auto* marker = state_.marker_list; marker != nullptr; marker = marker->next) {
      const std::string_view content(reinterpret_cast<const char*>(marker->data), marker->data_length);
      if (marker->marker != exifMarker || !content.starts_with(exifPrefix)) continue;
      return exifOrientation(std::as_bytes(std::span(content.substr(exifPrefix.size()))));
    }
    return 1;
  }

 private:
  std::span<const std::byte> bytes_;
  jpeg_decompress_struct state_{};
  ErrorManager errors_{};
  jpeg_progress_mgr progress_{};
};

}  // namespace

PixelBuffer decodeJPEG(std::span<const std::byte> bytes, std::uint64_t maximumPixelCount) {
  JPEGReader reader(bytes);
  if (!reader.readHeader()) throwNotDecodable("JPEG", reader.reason());
  PixelBuffer buffer = makePixelBuffer(reader.width(), reader.height(), maximumPixelCount);
  // Finishing the picture frees the markers.
  const int orientation = reader.orientation();
  if (!reader.readPixels(buffer.bytes.mutableBytes())) throwNotDecodable("JPEG", reader.reason());
  return upright(std::move(buffer), orientation);
}

}  // namespace platform::detail
