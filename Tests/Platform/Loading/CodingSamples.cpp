#include "Platform/Loading/CodingSamples.hpp"

#include <zlib.h>

#include <random>
#include <stdexcept>
#include <unordered_map>

namespace platform::detail {

namespace {

std::string deflated(std::string_view content, int windowBits, gz_header* header = nullptr) {
  z_stream stream{};
  if (deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::bad_alloc();
  if (header) deflateSetHeader(&stream, header);
  std::string result(deflateBound(&stream, static_cast<uLong>(content.size())) + 100, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  const int outcome = deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  if (outcome != Z_STREAM_END) throw std::runtime_error("deflate did not finish");
  return result;
}

/// Writes codes of growing width, in groups of eight.
class CodeWriter {
 public:
  void write(unsigned code, unsigned width) {
    bits_ |= std::uint64_t{code} << bitCount_;
    bitCount_ += width;
    codesInGroup_ = (codesInGroup_ + 1) % 8;
    while (bitCount_ >= 8) takeByte();
  }
  void endGroup(unsigned width) {
    while (codesInGroup_ != 0) write(0, width);
  }
  std::string finish() {
    if (bitCount_ > 0) takeByte();
    return std::move(bytes_);
  }

 private:
  void takeByte() {
    bytes_.push_back(static_cast<char>(bits_ & 0xFF));
    bits_ >>= 8;
    bitCount_ = bitCount_ > 8 ? bitCount_ - 8 : 0;
  }

  std::string bytes_;
  std::uint64_t bits_ = 0;
  unsigned bitCount_ = 0;
  unsigned codesInGroup_ = 0;
};

class LZWEncoder {
 public:
  LZWEncoder(unsigned maximumWidth, bool isBlockMode) : maximumWidth_(maximumWidth), isBlockMode_(isBlockMode) {
    restart();
  }

  std::string encode(std::string_view content) {
    std::string header = "\x1F\x9D";
    header.push_back(static_cast<char>(maximumWidth_ | (isBlockMode_ ? 0x80U : 0U)));
    if (content.empty()) return header;
    unsigned current = static_cast<unsigned char>(content[0]);
    for (const char c : content.substr(1)) current = extend(current, static_cast<unsigned char>(c));
    put(current);
    return header + writer_.finish();
  }

 private:
  unsigned extend(unsigned current, unsigned char next) {
    if (const auto known = codes_.find(current * 256 + next); known != codes_.end()) return known->second;
    put(current);
    if (free_ < 1U << maximumWidth_) {
      codes_[current * 256 + next] = free_++;
    } else if (isBlockMode_ && ++sinceFull_ > 5000) {
      put(256);
      writer_.endGroup(width_);
      restart();
    }
    return next;
  }

  void put(unsigned code) {
    writer_.write(code, width_);
    const bool isClear = isBlockMode_ && code == 256;
    if (!isClear && free_ == 1U << width_ && width_ < maximumWidth_) {
      writer_.endGroup(width_);
      ++width_;
    }
  }

  void restart() {
    codes_.clear();
    width_ = 9;
    free_ = isBlockMode_ ? 257 : 256;
    sinceFull_ = 0;
  }

  const unsigned maximumWidth_;
  const bool isBlockMode_;
  CodeWriter writer_;
  std::unordered_map<unsigned, unsigned> codes_;  // prefix and byte to code
  unsigned width_ = 9;
  unsigned free_ = 257;
  unsigned sinceFull_ = 0;
};

}  // namespace

std::string gzipped(std::string_view content) { return deflated(content, MAX_WBITS + 16); }

std::string gzippedWithEverything(std::string_view content) {
  Bytef name[] = "name.txt";
  Bytef comment[] = "a comment";
  Bytef extra[] = {'A', 'B', 2, 0, 1, 2};
  gz_header header{};
  header.name = name;
  header.comment = comment;
  header.extra = extra;
  header.extra_len = sizeof extra;
  header.hcrc = 1;
  return deflated(content, MAX_WBITS + 16, &header);
}

std::string zlibDeflated(std::string_view content) { return deflated(content, MAX_WBITS); }
std::string bareDeflated(std::string_view content) { return deflated(content, -MAX_WBITS); }

std::string lzwCompressed(std::string_view content, unsigned maximumWidth, bool isBlockMode) {
  return LZWEncoder(maximumWidth, isBlockMode).encode(content);
}

std::string variedText(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < count) {
    if (text.size() > 100 && random() % 3 == 0) {
      const std::size_t start = random() % (text.size() - 50);
      text += text.substr(start, random() % 50);
    } else {
      text.push_back(static_cast<char>('a' + random() % (2 + (text.size() / 20000) % 24)));
    }
  }
  text.resize(count);
  return text;
}

}  // namespace platform::detail
