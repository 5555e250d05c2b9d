#include "Platform/Foundation/Data.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <ostream>

#include "Platform/Foundation/UTF8.hpp"
#include "Platform/Trap.hpp"

namespace platform {

namespace {

// An allocation below this size costs the allocator as much as one of this size.
constexpr std::size_t smallestGrowth = 48;

}  // namespace

alignas(std::max_align_t) const std::byte Data::emptyBytes[Data::padding] = {};

std::byte* Data::allocate(std::size_t capacity) {
  constexpr std::size_t overhead = sizeof(Header) + padding;
  if (capacity > PTRDIFF_MAX - overhead) throw std::bad_alloc();
  void* memory = std::malloc(overhead + capacity);
  if (memory == nullptr) throw std::bad_alloc();
  auto* header = new (memory) Header{1, capacity};
  return reinterpret_cast<std::byte*>(header + 1);
}

void Data::destroy(Header* header) noexcept {
  header->~Header();
  std::free(header);
}

Data::Data(const void* bytes, std::size_t count) {
  if (count == 0) return;
  bytes_ = allocate(count);
  std::memcpy(bytes_, bytes, count);
  count_ = count;
}

Data::Data(std::string_view text) : Data(text.data(), text.size()) {}

Data::Data(const char* text) : Data(std::string_view(text)) {}

Data::Data(const std::string& text) : Data(text.data(), text.size()) {}

Data::Data(std::span<const std::byte> bytes) : Data(bytes.data(), bytes.size()) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): what is retained first survives the release
Data& Data::operator=(const Data& other) noexcept {
  other.retain();
  release();
  bytes_ = other.bytes_;
  count_ = other.count_;
  return *this;
}

Data& Data::operator=(Data&& other) noexcept {
  if (this == &other) return *this;
  release();
  bytes_ = other.bytes_;
  count_ = other.count_;
  other.forget();
  return *this;
}

Data Data::withCapacity(std::size_t capacity) {
  Data data;
  data.bytes_ = allocate(capacity);
  return data;
}

std::optional<std::string> Data::utf8() const {
  if (!isValidUTF8(view())) return std::nullopt;
  return text();
}

/// Gives this value a buffer of its own of exactly that capacity, which is at least its count.
void Data::setCapacity(std::size_t capacity) {
  if (bytes_ == nullptr || isShared()) {
    std::byte* bytes = allocate(capacity);
    if (bytes_ != nullptr) std::memcpy(bytes, bytes_, count_);
    release();
    bytes_ = bytes;
    return;
  }
  constexpr std::size_t overhead = sizeof(Header) + padding;
  if (capacity > PTRDIFF_MAX - overhead) throw std::bad_alloc();
  // Large blocks are moved by the memory manager without copying, which makes doubling cheap.
  void* memory = std::realloc(static_cast<void*>(header()), overhead + capacity);
  if (memory == nullptr) throw std::bad_alloc();
  auto* header = new (memory) Header{1, capacity};
  bytes_ = reinterpret_cast<std::byte*>(header + 1);
}

void Data::grow(std::size_t count) {
  const std::size_t doubled = count_ > SIZE_MAX / 2 ? count_ : count_ * 2;
  setCapacity(std::max({count, doubled, smallestGrowth}));
}

void Data::reserve(std::size_t capacity) {
  if (!hasRoomFor(capacity)) setCapacity(std::max(capacity, count_));
}

void Data::append(const void* bytes, std::size_t count) {
  if (count == 0) return;
  if (count > SIZE_MAX - count_) throw std::bad_alloc();
  // A second owner keeps bytes alive that lie in this value, whatever growing does to them.
  const auto* source = static_cast<const std::byte*>(bytes);
  const bool isOwn = source >= begin() && source < end();
  const Data keeper = isOwn ? *this : Data();
  const std::size_t previous = count_;
  resize(previous + count);
  std::memcpy(bytes_ + previous, source, count);
}

void Data::clear() noexcept {
  count_ = 0;
  if (bytes_ == nullptr || !isShared()) return;
  release();
  bytes_ = nullptr;
}

std::byte* Data::mutableBytes() {
  if (bytes_ == nullptr || isShared()) setCapacity(std::max(count_, smallestGrowth));
  return bytes_;
}

Data Data::subdata(std::size_t offset, std::size_t count) const {
  if (offset > count_ || count > count_ - offset) trap("Data::subdata: the part reaches past the end of the data");
  return {bytes() + offset, count};
}

bool operator==(const Data& left, const Data& right) noexcept {
  return left.count_ == right.count_ && std::memcmp(left.bytes(), right.bytes(), left.count_) == 0;
}

std::ostream& operator<<(std::ostream& stream, const Data& data) {
  return stream.write(data.view().data(), static_cast<std::streamsize>(data.count()));
}

}  // namespace platform
