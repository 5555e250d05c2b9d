#include "Corvane/ContentEncoding/GZipUnarchiver.hpp"

#include "Corvane/ContentEncoding/Internal/Zlib.hpp"

namespace corvane {

using platform::Data;

namespace {

constexpr int windowBitsDetectingHeader = 47;

int inflateAll(z_stream& stream, Data& output, std::size_t growth) {
  int result = Z_OK;
  do {
    if (stream.total_out >= output.count()) output.resize(output.count() + growth);
    detail::pointOutput(stream, output);
    result = inflate(&stream, Z_SYNC_FLUSH);
  } while (result == Z_OK);
  return result;
}

}  // namespace

Data GZipUnarchiver::unzip() const {
  if (!detail::isGzip(compressedData_)) return compressedData_;
  auto output = Data::withCapacity(2 * compressedData_.count());
  auto stream = detail::streamReading(compressedData_);
  const int initialised = inflateInit2(&stream, windowBitsDetectingHeader);
  if (initialised != Z_OK) throw detail::gzipError(initialised, stream);
  struct End {
    z_stream& stream;
    bool isDone = false;
    int now() {
      isDone = true;
      return inflateEnd(&stream);
    }
    ~End() {
      if (!isDone) now();
    }
  } end{stream};

  const int result = inflateAll(stream, output, compressedData_.count() / 2);
  if (end.now() != Z_OK || result != Z_STREAM_END) throw detail::gzipError(result, stream);
  output.resize(stream.total_out);
  return output;
}

}  // namespace corvane
