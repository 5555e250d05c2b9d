#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Imaging/UIImage.hpp"

namespace samples {

/// The pixels of an image file.
inline std::string pixels(std::string_view file) { return platform::UIImage(platform::Data(file)).pixels().text(); }

/// The error that an image file is refused with.
inline platform::Error refusal(std::string_view file,
                               std::uint64_t maximumPixelCount = platform::UIImage::defaultMaximumPixelCount) {
  try {
    const platform::UIImage image(platform::Data(file), maximumPixelCount);
    ADD_FAILURE() << "an image of " << image.width() << " x " << image.height() << " was read";
  } catch (const platform::Error& error) {
    return error;
  }
  return {"none", 0, "nothing was thrown"};
}

}  // namespace samples
