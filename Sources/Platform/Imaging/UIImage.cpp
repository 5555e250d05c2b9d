#include "Platform/Imaging/UIImage.hpp"

#include <string_view>
#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Imaging/Internal/JPEGDecoder.hpp"
#include "Platform/Imaging/Internal/PNGDecoder.hpp"

namespace platform {

namespace {

constexpr std::string_view signatureOfPNG = "\x89PNG\r\n\x1A\n";
constexpr std::string_view signatureOfJPEG = "\xFF\xD8\xFF";

detail::PixelBuffer decode(const Data& data, std::uint64_t maximumPixelCount) {
  if (data.view().starts_with(signatureOfPNG)) return detail::decodePNG(data.span(), maximumPixelCount);
  if (data.view().starts_with(signatureOfJPEG)) return detail::decodeJPEG(data.span(), maximumPixelCount);
  throw Error(UIImageErrorDomain, UIImageErrorCode::unknownFormat,
              data.isEmpty() ? "There is no image: the data is empty" : "The data is neither a PNG nor a JPEG image");
}

}  // namespace

UIImage::UIImage(const Data& data, std::uint64_t maximumPixelCount) {
  detail::PixelBuffer decoded = decode(data, maximumPixelCount);
  width_ = decoded.width;
  height_ = decoded.height;
  pixels_ = std::move(decoded.bytes);
}

}  // namespace platform
