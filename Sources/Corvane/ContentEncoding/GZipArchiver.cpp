#include "Corvane/ContentEncoding/GZipArchiver.hpp"

#include "Corvane/ContentEncoding/Internal/Zlib.hpp"

namespace corvane {

using platform::Data;

namespace {

constexpr int windowBitsWithGzipHeader = 31;
constexpr int memoryLevel = 9;
/// The output grows by this much whenever it is full: only its length; `Data` allocates in larger steps.
constexpr std::size_t growthBytes = 12;

Data deflateAll(z_stream& stream) {
  Data output;
  do {
    if (stream.total_out >= output.count()) output.resize(output.count() + growthBytes);
    detail::pointOutput(stream, output);
    // The one failure left is a full output, which the loop condition sees.
    deflate(&stream, Z_FINISH);
  } while (stream.avail_out == 0);
  output.resize(stream.total_out);
  return output;
}

}  // namespace

Data GZipArchiver::zip(GZipCompression level) const {
  if (uncompressedData_.isEmpty() || detail::isGzip(uncompressedData_)) return uncompressedData_;
  auto stream = detail::streamReading(uncompressedData_);
  const int result =
      deflateInit2(&stream, level.rawValue(), Z_DEFLATED, windowBitsWithGzipHeader, memoryLevel, Z_DEFAULT_STRATEGY);
  if (result != Z_OK) throw detail::gzipError(result, stream);
  const struct End {
    z_stream& stream;
    ~End() { deflateEnd(&stream); }
  } end{stream};
  return deflateAll(stream);
}

}  // namespace corvane
