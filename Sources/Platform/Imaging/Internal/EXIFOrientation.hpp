#pragma once

#include <cstddef>
#include <span>

namespace platform::detail {

/// The orientation, 1 to 8, that EXIF data tells (EXIF 2.32, 4.6.4; it is laid out as a TIFF file). 1, which is as
/// stored, where it tells none or is damaged: then the picture is still good.
int exifOrientation(std::span<const std::byte> tiff);

}  // namespace platform::detail
