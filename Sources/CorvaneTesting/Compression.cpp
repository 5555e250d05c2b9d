#include "CorvaneTesting/Compression.hpp"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

namespace corvane::testkit {

namespace {

constexpr int gzipWindow = 15 + 16;
constexpr int zlibWindow = 15;
constexpr int rawWindow = -15;

void feed(z_stream& stream, std::string_view bytes) {
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
}

std::string compressed(std::string_view bytes, int window) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("cannot start compressing");
  }
  // A little above zlib's bound: it leaves out what its gzip header may add.
  std::string output(deflateBound(&stream, static_cast<uLong>(bytes.size())) + 32, '\0');
  feed(stream, bytes);
  stream.next_out = reinterpret_cast<Bytef*>(output.data());
  stream.avail_out = static_cast<uInt>(output.size());
  const int result = deflate(&stream, Z_FINISH);
  output.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("cannot compress");
  return output;
}

/// Ends the stream at every way out.
struct Inflater {
  z_stream stream{};

  Inflater() {
    if (inflateInit2(&stream, gzipWindow) != Z_OK) throw std::runtime_error("cannot start decompressing");
  }
  ~Inflater() { inflateEnd(&stream); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
};

}  // namespace

std::string gzipped(std::string_view bytes) { return compressed(bytes, gzipWindow); }

std::string deflated(std::string_view bytes) { return compressed(bytes, zlibWindow); }

std::string rawDeflated(std::string_view bytes) { return compressed(bytes, rawWindow); }

std::string gunzipped(std::string_view bytes) {
  Inflater inflater;
  z_stream& stream = inflater.stream;
  feed(stream, bytes);
  std::string output;
  char piece[16 * 1024];
  int result = Z_OK;
  do {
    stream.next_out = reinterpret_cast<Bytef*>(piece);
    stream.avail_out = sizeof piece;
    result = inflate(&stream, Z_NO_FLUSH);
    output.append(piece, sizeof piece - stream.avail_out);
    if (result == Z_STREAM_END && stream.avail_in > 0) result = inflateReset(&stream);
  } while (result == Z_OK);
  if (result == Z_BUF_ERROR) throw std::runtime_error("the gzip stream is cut off");
  if (result != Z_STREAM_END) throw std::runtime_error("the gzip stream is damaged");
  return output;
}

std::string cutOff(std::string_view bytes, std::size_t count) {
  return std::string(bytes.substr(0, bytes.size() - std::min(count, bytes.size())));
}

std::string corrupted(std::string_view bytes, std::size_t position) {
  std::string result(bytes);
  if (result.empty()) throw std::invalid_argument("there is no byte to corrupt");
  if (position >= result.size()) position = result.size() / 2;
  result[position] = static_cast<char>(result[position] ^ 0x5a);
  return result;
}

}  // namespace corvane::testkit
