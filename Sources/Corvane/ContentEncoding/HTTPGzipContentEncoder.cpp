#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"

#include "Corvane/ContentEncoding/GZipArchiver.hpp"

namespace corvane {

platform::Data HTTPGzipContentEncoder::encodedData() const {
  return GZipArchiver(originalData_).zip(GZipCompression::default_);
}

}  // namespace corvane
