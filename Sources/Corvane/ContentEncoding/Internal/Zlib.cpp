#include "Corvane/ContentEncoding/Internal/Zlib.hpp"

#include <string>

namespace corvane::detail {

using platform::Data;

bool isGzip(const Data& data) { return data.count() >= 2 && data[0] == std::byte{0x1F} && data[1] == std::byte{0x8B}; }

z_stream streamReading(const Data& input) {
  z_stream stream{};
  // zlib only reads there; its declaration lacks the const unless ZLIB_CONST is defined.
  stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(input.bytes()));
  stream.avail_in = zlibLength(input.count());
  return stream;
}

void pointOutput(z_stream& stream, Data& output) {
  stream.next_out = reinterpret_cast<Bytef*>(output.mutableBytes()) + stream.total_out;
  stream.avail_out = zlibLength(output.count() - stream.total_out);
}

GZipError gzipError(int result, const z_stream& stream) { return gzipError(result, stream.msg); }

GZipError gzipError(int result, const char* message) {
  std::string text = (message ? Data(message).utf8() : std::nullopt).value_or("unknown gzip error");
  switch (result) {
    case Z_STREAM_ERROR:
      return GZipError::stream(std::move(text));
    case Z_DATA_ERROR:
      return GZipError::data(std::move(text));
    case Z_MEM_ERROR:
      return GZipError::memory(std::move(text));
    case Z_BUF_ERROR:
      return GZipError::buffer(std::move(text));
    case Z_VERSION_ERROR:
      return GZipError::version(std::move(text));
    default:
      return GZipError::unknown(std::move(text), result);
  }
}

}  // namespace corvane::detail
