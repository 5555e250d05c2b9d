#include "Platform/Imaging/UIImage.hpp"

#include <cstddef>
#include <cstdint>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Trap.hpp"

/// An image is read or refused; whatever else is thrown ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  constexpr std::uint64_t pixelsThatAreReadQuickly = 100'000;
  try {
    const platform::UIImage image(platform::Data(bytes, count), pixelsThatAreReadQuickly);
    const std::size_t pixelCount = std::size_t{image.width()} * image.height();
    if (pixelCount == 0 || pixelCount > pixelsThatAreReadQuickly) platform::trap("an image has a wrong size");
    if (image.pixels().size() != 4 * pixelCount) platform::trap("an image has a wrong number of pixels");
  } catch (const platform::Error& error) {
    if (error.domain() != platform::UIImageErrorDomain) platform::trap("an image is refused with a foreign error");
  }
  return 0;
}
