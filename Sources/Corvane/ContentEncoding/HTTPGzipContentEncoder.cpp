#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"

#include "Corvane/ContentEncoding/GZipArchiver.hpp"
#include "Corvane/ContentEncoding/Internal/GzipBodyStream.hpp"

namespace corvane {

platform::Data HTTPGzipContentEncoder::encodedData() const {
  return GZipArchiver(originalData_).zip(GZipCompression::default_);
}

std::shared_ptr<platform::URLBodyStream> HTTPGzipContentEncoder::encodedStream(
    std::shared_ptr<platform::URLBodyStream> original) {
  return std::make_shared<detail::GzipBodyStream>(std::move(original));
}

}  // namespace corvane
