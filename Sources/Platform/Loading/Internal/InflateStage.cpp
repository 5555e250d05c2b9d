#include "Platform/Loading/Internal/InflateStage.hpp"

#include <algorithm>
#include <new>
#include <string>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

constexpr std::byte gzipMagic{0x1F};

/// CMF and FLG with a valid check and a window that zlib knows (RFC 1950, 2.2). Bare deflate data hardly
/// ever starts like this: it would be a stored block with a padding bit set.
bool isZlibHeader(std::byte first, std::byte second) {
  const auto cmf = std::to_integer<unsigned>(first);
  const auto flags = std::to_integer<unsigned>(second);
  return (cmf & 0x0F) == 8 && (cmf >> 4) <= 7 && (cmf * 256 + flags) % 31 == 0;
}

}  // namespace

InflateStage::InflateStage(Format format)
    : format_(format), piece_(std::make_unique_for_overwrite<std::byte[]>(pieceBytes)) {
  if (format_ == Format::gzip) open(MAX_WBITS + 16);
}

InflateStage::~InflateStage() {
  if (isOpen_) inflateEnd(&stream_);
}

void InflateStage::open(int windowBits) {
  if (inflateInit2(&stream_, windowBits) != Z_OK) throw std::bad_alloc();
  isOpen_ = true;
}

std::optional<LoadFailure> InflateStage::decode(Bytes input, const ByteConsumer& output) {
  if (format_ == Format::deflate && !isOpen_) {
    if (!takeFirstBytes(input)) return std::nullopt;
    Bytes first(firstBytes_);
    if (auto failure = inflatePiece(first, output)) return failure;
    if (!first.empty()) return damaged("bytes follow its end");
  }
  while (!input.empty()) {
    if (isAtEndOfMember_) {
      if (auto failure = beginNextMember(input.front())) return failure;
    }
    if (auto failure = inflatePiece(input, output)) return failure;
  }
  return std::nullopt;
}

std::optional<LoadFailure> InflateStage::finish() {
  if (isAtEndOfMember_) return std::nullopt;
  return LoadFailure{URLErrorCode::cannotDecodeContentData, std::string("the ") + name() + " data ends early"};
}

/// Whether the two bytes that tell the format are there.
bool InflateStage::takeFirstBytes(Bytes& input) {
  while (firstBytesCount_ < 2 && !input.empty()) {
    firstBytes_[firstBytesCount_++] = input.front();
    input = input.subspan(1);
  }
  if (firstBytesCount_ < 2) return false;
  open(isZlibHeader(firstBytes_[0], firstBytes_[1]) ? MAX_WBITS : -MAX_WBITS);
  return true;
}

std::optional<LoadFailure> InflateStage::beginNextMember(std::byte first) {
  if (format_ == Format::deflate || first != gzipMagic) return damaged("bytes follow its end");
  inflateReset(&stream_);
  return std::nullopt;
}

/// Takes from `input` until it is used up or the member ends.
std::optional<LoadFailure> InflateStage::inflatePiece(Bytes& input, const ByteConsumer& output) {
  constexpr std::size_t mostAtOnce = std::size_t{1} << 30;  // zlib counts in unsigned int
  const Bytes taken = input.first(std::min(input.size(), mostAtOnce));
  isAtEndOfMember_ = false;
  stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(taken.data()));
  stream_.avail_in = static_cast<uInt>(taken.size());
  int result = Z_OK;
  do {
    stream_.next_out = reinterpret_cast<Bytef*>(piece_.get());
    stream_.avail_out = static_cast<uInt>(pieceBytes);
    result = inflate(&stream_, Z_NO_FLUSH);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    const Bytes decoded(piece_.get(), pieceBytes - stream_.avail_out);
    if (!decoded.empty()) {
      if (auto failure = output(decoded)) return failure;
    }
    if (result == Z_NEED_DICT) return damaged("it needs a dictionary");
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return damaged(stream_.msg);
  } while (result == Z_OK && (stream_.avail_in > 0 || stream_.avail_out == 0));
  isAtEndOfMember_ = result == Z_STREAM_END;
  input = input.subspan(taken.size() - stream_.avail_in);
  return std::nullopt;
}

LoadFailure InflateStage::damaged(const char* detail) const {
  return {URLErrorCode::cannotDecodeContentData,
          std::string("the ") + name() + " data is damaged: " + (detail ? detail : "invalid data")};
}

}  // namespace platform::detail
