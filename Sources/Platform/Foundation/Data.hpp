#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// A byte buffer with value semantics whose copies share their bytes until one of them is changed.
///
/// Copying never copies bytes. Growing never zeroes memory. Behind the last byte there are always
/// `padding` readable bytes of unspecified content, so that a vector parser may read past the end.
/// A value may be read from several threads at once; changing one value needs the usual exclusion, while
/// changing two copies from two threads is safe.
class CORVANE_API Data {
 public:
  /// Readable bytes behind the end of every non-empty buffer.
  static constexpr std::size_t padding = 64;

  Data() noexcept = default;
  /// The bytes of `text`, as they are.
  Data(std::string_view text);  // NOLINT(google-explicit-constructor): text is bytes
  Data(const char* text);       // NOLINT(google-explicit-constructor)
  Data(const std::string& text);  // NOLINT(google-explicit-constructor)
  explicit Data(std::span<const std::byte> bytes);
  Data(const void* bytes, std::size_t count);
  Data(const Data& other) noexcept;
  Data(Data&& other) noexcept;
  Data& operator=(const Data& other) noexcept;
  Data& operator=(Data&& other) noexcept;
  ~Data();

  /// An empty buffer that can take `capacity` bytes before it reallocates.
  static Data withCapacity(std::size_t capacity);

  std::size_t count() const noexcept { return count_; }
  std::size_t size() const noexcept { return count_; }
  bool isEmpty() const noexcept { return count_ == 0; }
  std::size_t capacity() const noexcept;

  /// Never null, also when empty.
  const std::byte* bytes() const noexcept;
  const std::byte* begin() const noexcept { return bytes(); }
  const std::byte* end() const noexcept { return bytes() + count_; }
  std::byte operator[](std::size_t index) const noexcept { return bytes()[index]; }
  std::span<const std::byte> span() const noexcept { return {bytes(), count_}; }
  /// The bytes seen as characters, valid as long as this value is neither changed nor destroyed.
  std::string_view view() const noexcept;
  /// A copy of the bytes as a string, whatever they are.
  std::string text() const;
  /// The bytes as text, or absent when they are not valid UTF-8 (RFC 3629).
  std::optional<std::string> utf8() const;

  void append(std::span<const std::byte> bytes);
  void append(std::string_view text);
  void append(const void* bytes, std::size_t count);
  void reserve(std::size_t capacity);
  /// Sets the length; bytes that are added have unspecified content. Growth is amortised, not exact.
  void resize(std::size_t count);
  void clear() noexcept;
  /// The bytes for writing; detaches this value from its copies first.
  std::byte* mutableBytes();
  Data subdata(std::size_t offset, std::size_t count) const;

  friend CORVANE_API bool operator==(const Data& left, const Data& right) noexcept;

 private:
  struct Block;
  void release() noexcept;
  void makeRoom(std::size_t capacity);

  Block* block_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace platform
