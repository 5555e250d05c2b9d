#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Platform/Imaging/Internal/PixelBuffer.hpp"

namespace platform::detail {

/// The picture in bytes that begin with the signature of PNG. Throws as `UIImage` does.
PixelBuffer decodePNG(std::span<const std::byte> bytes, std::uint64_t maximumPixelCount);

}  // namespace platform::detail
