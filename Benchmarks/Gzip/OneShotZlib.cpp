#include "Gzip/OneShotZlib.hpp"

#include <zlib.h>

#include <stdexcept>

namespace bench {
namespace {

constexpr int gzipWindow = 31;
constexpr int gzipOrZlibWindow = 47;
constexpr int memoryLevel = 9;

void require(bool done) {
  if (!done) throw std::runtime_error("zlib failed");
}

void setUp(z_stream& stream, std::string_view input) {
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  stream.avail_in = static_cast<uInt>(input.size());
}

RawBytes outputFor(z_stream& stream, std::size_t capacity) {
  RawBytes output{std::unique_ptr<char[]>(new char[capacity]), 0};
  stream.next_out = reinterpret_cast<Bytef*>(output.bytes.get());
  stream.avail_out = static_cast<uInt>(capacity);
  return output;
}

}  // namespace

RawBytes deflateAtOnce(std::string_view plain) {
  z_stream stream{};
  setUp(stream, plain);
  require(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindow, memoryLevel, Z_DEFAULT_STRATEGY) ==
          Z_OK);
  RawBytes output = outputFor(stream, deflateBound(&stream, static_cast<uLong>(plain.size())));
  require(deflate(&stream, Z_FINISH) == Z_STREAM_END);
  output.count = stream.total_out;
  deflateEnd(&stream);
  return output;
}

RawBytes inflateAtOnce(std::string_view compressed, std::size_t plainCount) {
  z_stream stream{};
  setUp(stream, compressed);
  require(inflateInit2(&stream, gzipOrZlibWindow) == Z_OK);
  RawBytes output = outputFor(stream, plainCount);
  require(inflate(&stream, Z_FINISH) == Z_STREAM_END);
  output.count = stream.total_out;
  inflateEnd(&stream);
  return output;
}

}  // namespace bench
