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

InflateStage::InflateStage(Format format) : format_(format) {
  if (format_ == Format::gzip) open(MAX_WBITS + 16);
}

InflateStage::~InflateStage() {
  if (isOpen_) inflateEnd(&stream_);
}

void InflateStage::open(int windowBits) {
  if (inflateInit2(&stream_, windowBits) != Z_OK) throw std::bad_alloc();
  isOpen_ = true;
}

DecodedStep InflateStage::decode(Bytes& input, std::span<std::byte> room) {
  if (format_ == Format::deflate && !isOpen_) {
    if (!takeFirstBytes(input)) return {};
    Bytes first(firstBytes_);
    DecodedStep step = inflateInto(first, room);  // two bytes stand for less than there is room for
    if (!step.failure && !first.empty()) step.failure = damaged("bytes follow its end");
    if (step.failure || step.count > 0) return step;
  }
  for (;;) {
    if (isAtEndOfMember_) {
      if (input.empty()) return {};
      if (auto failure = beginNextMember(input.front())) return {0, std::move(failure)};
    }
    DecodedStep step = inflateInto(input, room);
    if (step.failure || step.count > 0 || (input.empty() && !isAtEndOfMember_)) return step;
  }
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

/// Takes from `input` until it is used up, the room is full, or the member ends.
DecodedStep InflateStage::inflateInto(Bytes& input, std::span<std::byte> room) {
  constexpr std::size_t mostAtOnce = std::size_t{1} << 30;  // zlib counts in unsigned int
  const Bytes taken = input.first(std::min(input.size(), mostAtOnce));
  const std::size_t roomBytes = std::min(room.size(), mostAtOnce);
  isAtEndOfMember_ = false;
  stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(taken.data()));
  stream_.avail_in = static_cast<uInt>(taken.size());
  stream_.next_out = reinterpret_cast<Bytef*>(room.data());
  stream_.avail_out = static_cast<uInt>(roomBytes);
  const int result = inflate(&stream_, Z_NO_FLUSH);
  if (result == Z_MEM_ERROR) throw std::bad_alloc();
  DecodedStep step{roomBytes - stream_.avail_out, std::nullopt};
  input = input.subspan(taken.size() - stream_.avail_in);
  isAtEndOfMember_ = result == Z_STREAM_END;
  if (result == Z_NEED_DICT) {
    step.failure = damaged("it needs a dictionary");
  } else if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
    step.failure = damaged(stream_.msg);
  }
  return step;
}

LoadFailure InflateStage::damaged(const char* detail) const {
  return {URLErrorCode::cannotDecodeContentData,
          std::string("the ") + name() + " data is damaged: " + (detail ? detail : "invalid data")};
}

}  // namespace platform::detail
