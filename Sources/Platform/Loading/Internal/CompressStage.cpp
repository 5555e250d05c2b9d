#include "Platform/Loading/Internal/CompressStage.hpp"

#include <algorithm>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

LoadFailure failure(const char* what) { return {URLErrorCode::cannotDecodeContentData, what}; }

}  // namespace

DecodedStep CompressStage::decode(Bytes& input, std::span<std::byte> room) {
  if (headerCount_ < headerBytes) {
    if (auto problem = takeHeader(input)) return {0, std::move(problem)};
    if (headerCount_ < headerBytes) return {};
  }
  DecodedStep step;
  Code code = 0;
  while (!step.failure && decoded_.size() - handedOut_ < room.size() && readCode(input, code)) {
    step.failure = takeCode(code);
  }
  if (!step.failure) step.count = handOut(room);
  return step;
}

std::optional<LoadFailure> CompressStage::finish() {
  if (headerCount_ < headerBytes) return failure("the compress data ends early");
  if (skippedBits_ > 0) return std::nullopt;
  if (bitCount_ >= 8) return failure("the compress data ends early");
  if (bits_ != 0) return failure("the compress data is damaged: bits follow its end");
  return std::nullopt;
}

std::optional<LoadFailure> CompressStage::takeHeader(Bytes& input) {
  while (headerCount_ < headerBytes && !input.empty()) {
    header_[headerCount_++] = input.front();
    input = input.subspan(1);
  }
  if (headerCount_ < headerBytes) return std::nullopt;
  const auto flags = std::to_integer<unsigned>(header_[2]);
  maximumWidth_ = flags & 0x1F;
  isBlockMode_ = (flags & 0x80) != 0;
  const bool isKnown = header_[0] == std::byte{0x1F} && header_[1] == std::byte{0x9D} && (flags & 0x60) == 0 &&
                       maximumWidth_ >= firstWidth && maximumWidth_ <= greatestWidth;
  if (!isKnown) return failure("the compress data is damaged: its header is unknown");
  prefixes_.resize(std::size_t{1} << maximumWidth_);
  suffixes_.resize(std::size_t{1} << maximumWidth_);
  clear();
  return std::nullopt;
}

bool CompressStage::readCode(Bytes& input, Code& code) {
  if (free_ == Code{1} << width_ && width_ < maximumWidth_) widen();
  for (;;) {
    while (bitCount_ <= 48 && !input.empty()) {
      bits_ |= std::to_integer<std::uint64_t>(input.front()) << bitCount_;
      bitCount_ += 8;
      input = input.subspan(1);
    }
    const unsigned skipped = std::min(skippedBits_, bitCount_);
    bits_ >>= skipped;
    bitCount_ -= skipped;
    skippedBits_ -= skipped;
    if (skippedBits_ == 0 && bitCount_ >= width_) break;
    if (input.empty()) return false;
  }
  code = static_cast<Code>(bits_ & ((std::uint64_t{1} << width_) - 1));
  bits_ >>= width_;
  bitCount_ -= width_;
  codesInGroup_ = (codesInGroup_ + 1) % 8;
  return true;
}

/// The encoder writes codes in groups of eight and pads the last group of a width with nothing of meaning.
void CompressStage::skipRestOfGroup() {
  skippedBits_ = codesInGroup_ == 0 ? 0 : (8 - codesInGroup_) * width_;
  codesInGroup_ = 0;
}

void CompressStage::widen() {
  skipRestOfGroup();
  ++width_;
}

void CompressStage::clear() {
  skipRestOfGroup();
  width_ = firstWidth;
  free_ = isBlockMode_ ? clearCode + 1 : clearCode;
  previous_ = none;
}

std::optional<LoadFailure> CompressStage::takeCode(Code code) {
  if (isBlockMode_ && code == clearCode) {
    clear();
    return std::nullopt;
  }
  if (code > free_ || (previous_ == none && code >= 256) || (code == free_ && free_ >= suffixes_.size())) {
    return failure("the compress data is damaged: invalid code");
  }
  if (code == free_) {
    // The string that is only now being defined: the previous one and its own first byte.
    emit(previous_);
    decoded_.push_back(firstOfPrevious_);
  } else {
    emit(code);
  }
  if (previous_ != none && free_ < suffixes_.size()) {
    prefixes_[free_] = static_cast<std::uint16_t>(previous_);
    suffixes_[free_] = firstOfPrevious_;
    ++free_;
  }
  previous_ = code;
  return std::nullopt;
}

void CompressStage::emit(Code code) {
  reversed_.clear();
  while (code >= 256) {
    reversed_.push_back(suffixes_[code]);
    code = prefixes_[code];
  }
  firstOfPrevious_ = static_cast<std::byte>(code);
  decoded_.push_back(firstOfPrevious_);
  decoded_.insert(decoded_.end(), reversed_.rbegin(), reversed_.rend());
}

/// A code may stand for more than there is room for; the rest is kept.
std::size_t CompressStage::handOut(std::span<std::byte> room) {
  const std::size_t count = std::min(room.size(), decoded_.size() - handedOut_);
  std::copy_n(decoded_.begin() + static_cast<std::ptrdiff_t>(handedOut_), count, room.begin());
  handedOut_ += count;
  if (handedOut_ == decoded_.size()) {
    decoded_.clear();
    handedOut_ = 0;
  }
  return count;
}

}  // namespace platform::detail
