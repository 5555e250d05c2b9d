#include "Platform/Networking/HTTP2/HTTP2Output.hpp"

namespace platform::networking {

std::span<std::byte> HTTP2Output::room(std::size_t count) {
  constexpr std::size_t smallest = 4096;
  if (capacity_ - size_ < count) {
    const std::size_t capacity = std::max({size_ + count, 2 * capacity_, smallest});
    auto buffer = std::make_unique_for_overwrite<std::byte[]>(capacity);
    if (size_ > 0) std::memcpy(buffer.get(), buffer_.get(), size_);
    buffer_ = std::move(buffer);
    capacity_ = capacity;
  }
  return {buffer_.get() + size_, count};
}

void HTTP2Output::markLast(std::size_t count, HTTP2Stream& stream, std::size_t bodyBytes, bool endsRequest) {
  parts_.push_back({size_ - count, size_, size_ - bodyBytes, &stream, endsRequest});
}

void HTTP2Output::forget(const HTTP2Stream& stream) {
  for (std::size_t place = firstPart_; place < parts_.size(); ++place) {
    if (parts_[place].stream == &stream) parts_[place].stream = nullptr;
  }
}

void HTTP2Output::trim() {
  constexpr std::size_t kept = 4096;
  if (capacity_ <= kept) return;
  buffer_.reset();
  capacity_ = 0;
}

void HTTP2Output::clear() {
  size_ = 0;
  written_ = 0;
  parts_.clear();
  firstPart_ = 0;
}

}  // namespace platform::networking
