#pragma once

#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// A byte buffer with value semantics whose copies share their bytes until one of them is changed.
///
/// Copying never copies bytes. Growing never zeroes memory. After the last byte there are always `padding` readable
/// bytes of unspecified content, so that a vector parser may read past the end. Several threads may read a value at
/// once; changing a value needs the usual exclusion, while changing two copies from two threads is safe. Throws
/// `std::bad_alloc` when memory runs out.
class CORVANE_API Data {
 public:
  /// Readable bytes after the end of every buffer, the empty one included.
  static constexpr std::size_t padding = 64;

  Data() noexcept = default;
  /// The bytes of `text`, unchanged.
  Data(std::string_view text);    // NOLINT(google-explicit-constructor): text is bytes
  Data(const char* text);         // NOLINT(google-explicit-constructor)
  Data(const std::string& text);  // NOLINT(google-explicit-constructor)
  Data(std::nullptr_t) = delete;
  explicit Data(std::span<const std::byte> bytes);
  Data(const void* bytes, std::size_t count);
  Data(const Data& other) noexcept : bytes_(other.bytes_), count_(other.count_) { retain(); }
  /// Leaves `other` empty.
  Data(Data&& other) noexcept : bytes_(other.bytes_), count_(other.count_) { other.forget(); }
  Data& operator=(const Data& other) noexcept;
  Data& operator=(Data&& other) noexcept;
  ~Data() { release(); }

  /// An empty buffer that can take `capacity` bytes before it reallocates.
  static Data withCapacity(std::size_t capacity);

  /// In bytes.
  std::size_t count() const noexcept { return count_; }
  std::size_t size() const noexcept { return count_; }
  /// Whether there is no byte.
  bool isEmpty() const noexcept { return count_ == 0; }
  /// The number of bytes that fit without a reallocation.
  std::size_t capacity() const noexcept { return bytes_ != nullptr ? header()->capacity : 0; }
  /// Whether another value has the same bytes at the moment, so that a change would copy them.
  bool isShared() const noexcept {
    return bytes_ != nullptr && header()->references.load(std::memory_order_acquire) != 1;
  }

  /// Never null, also when empty.
  const std::byte* bytes() const noexcept { return bytes_ != nullptr ? bytes_ : emptyBytes; }
  const std::byte* begin() const noexcept { return bytes(); }
  const std::byte* end() const noexcept { return bytes() + count_; }
  /// The byte at an index. Requires: the index is less than `count()`.
  std::byte operator[](std::size_t index) const noexcept { return bytes_[index]; }
  /// The bytes; valid as long as this value is neither changed nor destroyed.
  std::span<const std::byte> span() const noexcept { return {bytes(), count_}; }
  /// The bytes as characters; valid as long as this value is neither changed nor destroyed.
  std::string_view view() const noexcept { return {reinterpret_cast<const char*>(bytes()), count_}; }
  /// A copy of the bytes as a string, without a check of their encoding.
  std::string text() const { return std::string(view()); }
  /// The bytes as text, or absent when they are not valid UTF-8 (RFC 3629).
  std::optional<std::string> utf8() const;

  /// Appends bytes; they may be bytes of this value itself.
  void append(std::span<const std::byte> bytes) { append(bytes.data(), bytes.size()); }
  void append(std::string_view text) { append(text.data(), text.size()); }
  void append(const void* bytes, std::size_t count);
  /// Reserves memory for `capacity` bytes in total, so that growing up to that size does not reallocate.
  void reserve(std::size_t capacity);
  /// Sets the length; added bytes have unspecified content. The capacity grows in larger steps, for amortised cost.
  void resize(std::size_t count) {
    if (count > count_ && !hasRoomFor(count)) grow(count);
    count_ = count;
  }
  /// Empties the value; memory that is not shared is kept for reuse.
  void clear() noexcept;
  /// The bytes for writing. First separates this value from its copies. Never null.
  std::byte* mutableBytes();
  /// A copy of a part. Requires: the part lies within this value; traps otherwise.
  Data subdata(std::size_t offset, std::size_t count) const;

  friend CORVANE_API bool operator==(const Data& left, const Data& right) noexcept;
  /// Writes the bytes as they are, whatever the width and the fill of the stream.
  friend CORVANE_API std::ostream& operator<<(std::ostream& stream, const Data& data);

 private:
  /// Stands right before the bytes, in the same allocation.
  struct alignas(std::max_align_t) Header {
    std::atomic<std::size_t> references;
    std::size_t capacity;
  };
  static const std::byte emptyBytes[padding];

  Header* header() const noexcept { return reinterpret_cast<Header*>(bytes_) - 1; }
  bool hasRoomFor(std::size_t count) const noexcept {
    return bytes_ != nullptr && count <= header()->capacity && !isShared();
  }
  void retain() const noexcept {
    if (bytes_ != nullptr) header()->references.fetch_add(1, std::memory_order_relaxed);
  }
  void release() noexcept {
    if (bytes_ != nullptr && header()->references.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(header());
  }
  void forget() noexcept {
    bytes_ = nullptr;
    count_ = 0;
  }
  static std::byte* allocate(std::size_t capacity);
  static void destroy(Header* header) noexcept;
  void setCapacity(std::size_t capacity);
  void grow(std::size_t count);

  std::byte* bytes_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace platform
