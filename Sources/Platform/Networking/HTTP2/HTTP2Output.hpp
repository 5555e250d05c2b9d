#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

class HTTP2Stream;

/// Frames that are ready to be written, and which of their bytes belong to which stream. It is filled while it is
/// empty, and written until it is empty again.
class HTTP2Output {
 public:
  /// From here on it is full.
  static constexpr std::size_t limitBytes = std::size_t{128} * 1024;

  bool isEmpty() const { return written_ == size_; }
  bool isFull() const { return size_ >= limitBytes; }
  std::size_t size() const { return size_; }
  Bytes pending() const { return {buffer_.get() + written_, size_ - written_}; }

  /// Room after the last byte; what is written there counts from `commit` on.
  std::span<std::byte> room(std::size_t count);
  void commit(std::size_t count) { size_ += count; }
  void append(const void* bytes, std::size_t count) {
    std::memcpy(room(count).data(), bytes, count);
    commit(count);
  }
  /// The last `count` bytes belong to a stream; `bodyBytes` of them, at their end, to the request's body.
  void markLast(std::size_t count, HTTP2Stream& stream, std::size_t bodyBytes, bool endsRequest);
  /// The last `count` bytes go on with what was marked last.
  void extendLast() {
    if (!parts_.empty()) parts_.back().end = size_;
  }
  /// The stream is no more; its bytes are written all the same.
  void forget(const HTTP2Stream& stream);

  /// So many bytes were written. Tells, by `tell(stream, bodyBytes, isWhole)`, each stream that some are of.
  template <class Tell>
  void advance(std::size_t count, Tell tell);
  /// Gives large memory back. Requires: it is empty.
  void trim();

 private:
  struct Part {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t bodyBegin = 0;
    HTTP2Stream* stream = nullptr;
    bool endsRequest = false;
  };

  void clear();

  std::unique_ptr<std::byte[]> buffer_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
  std::size_t written_ = 0;
  std::vector<Part> parts_;
  std::size_t firstPart_ = 0;
};

template <class Tell>
void HTTP2Output::advance(std::size_t count, Tell tell) {
  const std::size_t before = written_;
  written_ += count;
  for (; firstPart_ < parts_.size() && parts_[firstPart_].begin < written_; ++firstPart_) {
    const Part part = parts_[firstPart_];
    const bool isWhole = part.end <= written_;
    const std::size_t from = std::clamp(before, part.bodyBegin, part.end);
    const std::size_t to = std::clamp(written_, part.bodyBegin, part.end);
    if (part.stream != nullptr) tell(*part.stream, to - from, isWhole && part.endsRequest);
    if (!isWhole) break;
  }
  if (isEmpty()) clear();
}

}  // namespace platform::networking
