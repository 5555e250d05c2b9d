#include "Platform/Imaging/Internal/PNGDecoder.hpp"

#include <png.h>
#include <zlib.h>

#include <string_view>
#include <utility>

#include "Platform/Imaging/Internal/EXIFOrientation.hpp"

namespace platform::detail {

namespace {

constexpr std::size_t signatureSize = 8;
constexpr std::size_t lengthSize = 4;
constexpr std::size_t typeSize = 4;
constexpr std::size_t checksumSize = 4;

std::uint32_t bigEndian(std::span<const std::byte> bytes) {
  std::uint32_t number = 0;
  for (std::size_t index = 0; index < 4; ++index) number = number << 8 | std::to_integer<std::uint32_t>(bytes[index]);
  return number;
}

std::uint32_t checksum(std::span<const std::byte> bytes) {
  const auto* const first = reinterpret_cast<const Bytef*>(bytes.data());
  return static_cast<std::uint32_t>(crc32_z(0, first, bytes.size()));
}

/// Walks over the chunks (PNG, third edition, 5.3) up to the last, which libpng does not ask for when it has all rows.
/// Throws where there is no such end. Returns the orientation.
int checkChunks(std::span<const std::byte> bytes) {
  int orientation = 1;
  auto rest = bytes.subspan(signatureSize);
  while (rest.size() >= lengthSize + typeSize + checksumSize) {
    const std::size_t length = bigEndian(rest);
    if (length > rest.size() - (lengthSize + typeSize + checksumSize)) break;
    const auto typeAndContent = rest.subspan(lengthSize, typeSize + length);
    const std::string_view type(reinterpret_cast<const char*>(typeAndContent.data()), typeSize);
    const auto tail = rest.subspan(lengthSize + typeSize + length);
    if (type == "IEND") return orientation;
    if (type == "eXIf" && checksum(typeAndContent) == bigEndian(tail)) {
      orientation = exifOrientation(typeAndContent.subspan(typeSize));
    }
    rest = tail.subspan(checksumSize);
  }
  throwNotDecodable("PNG", "it is cut short");
}

/// libpng's simplified interface, which keeps its long jumps to itself.
class PNGReader {
 public:
  explicit PNGReader(std::span<const std::byte> bytes) {
    image_.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image_, bytes.data(), bytes.size()) == 0) fail();
    // Without a gAMA chunk 16-bit channels are taken as sRGB, as 8-bit ones are and as browsers do; libpng would take
    // them as linear.
    image_.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
    image_.format = PNG_FORMAT_RGBA;
  }
  PNGReader(const PNGReader&) = delete;
  PNGReader& operator=(const PNGReader&) = delete;
  ~PNGReader() { png_image_free(&image_); }

  std::uint32_t width() const { return image_.width; }
  std::uint32_t height() const { return image_.height; }
  void read(std::byte* pixels) {
    if (png_image_finish_read(&image_, nullptr, pixels, 0, nullptr) == 0) fail();
  }

 private:
  // After a failure libpng has freed what it had.
  [[noreturn]] void fail() { throwNotDecodable("PNG", image_.message); }

  png_image image_{};
};

}  // namespace

PixelBuffer decodePNG(std::span<const std::byte> bytes, std::uint64_t maximumPixelCount) {
  const int orientation = checkChunks(bytes);
  PNGReader reader(bytes);
  PixelBuffer buffer = makePixelBuffer(reader.width(), reader.height(), maximumPixelCount);
  reader.read(buffer.bytes.mutableBytes());
  return upright(std::move(buffer), orientation);
}

}  // namespace platform::detail
