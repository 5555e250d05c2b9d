#include "Platform/Imaging/Internal/EXIFOrientation.hpp"

#include <cstdint>

namespace platform::detail {

namespace {

constexpr int asStored = 1;
constexpr std::uint32_t orientationTag = 0x0112;
constexpr std::uint32_t shortType = 3;
constexpr std::size_t entrySize = 12;

/// Reads numbers in the byte order of the file. What lies after the end reads as 0.
class TIFFReader {
 public:
  explicit TIFFReader(std::span<const std::byte> bytes) : bytes_(bytes), isBigEndian_(at(0) == 'M') {}

  bool isTIFF() const {
    const bool hasOrder = (at(0) == 'I' && at(1) == 'I') || (at(0) == 'M' && at(1) == 'M');
    return hasOrder && short_(2) == 42;
  }
  std::size_t size() const { return bytes_.size(); }
  std::uint32_t short_(std::size_t place) const {
    return isBigEndian_ ? at(place) << 8 | at(place + 1) : at(place + 1) << 8 | at(place);
  }
  std::uint32_t long_(std::size_t place) const {
    return isBigEndian_ ? short_(place) << 16 | short_(place + 2) : short_(place + 2) << 16 | short_(place);
  }

 private:
  std::uint32_t at(std::size_t place) const {
    return place < bytes_.size() ? std::to_integer<std::uint32_t>(bytes_[place]) : 0;
  }

  std::span<const std::byte> bytes_;
  bool isBigEndian_;
};

}  // namespace

int exifOrientation(std::span<const std::byte> tiff) {
  const TIFFReader reader(tiff);
  if (!reader.isTIFF()) return asStored;
  const std::size_t directory = reader.long_(4);
  const std::uint32_t count = reader.short_(directory);
  for (std::uint32_t index = 0; index < count; ++index) {
    const std::size_t entry = directory + 2 + index * entrySize;
    if (entry + entrySize > reader.size()) return asStored;
    if (reader.short_(entry) != orientationTag) continue;
    const std::uint32_t value = reader.short_(entry + 8);
    const bool isValid = reader.short_(entry + 2) == shortType && reader.long_(entry + 4) == 1;
    return isValid && value >= 1 && value <= 8 ? static_cast<int>(value) : asStored;
  }
  return asStored;
}

}  // namespace platform::detail
