#include "Platform/Loading/Internal/BodyMemory.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace platform::detail {

namespace {

constexpr std::size_t hugePageBytes = std::size_t{2} << 20;
/// From here on, what a huge page wastes at the ends is small beside the body.
constexpr std::size_t hugeBodyBytes = 4 * hugePageBytes;

/// Much of the time of receiving a large body goes into the page faults of its memory: larger pages mean fewer of them
/// (madvise(2)). A system without huge pages refuses, which changes nothing. Only for memory that stays where it is:
/// mremap(2) cannot move what is advised in part.
void askForHugePages(std::span<std::byte> memory) {
  void* first = memory.data();
  std::size_t left = memory.size();
  if (!std::align(hugePageBytes, hugePageBytes, first, left)) return;
  ::madvise(first, left / hugePageBytes * hugePageBytes, MADV_HUGEPAGE);
}

}  // namespace

std::span<std::byte> BodyMemory::room(std::size_t count) {
  const std::size_t wanted = count_ + count;
  if (wanted > memory_.count()) grow(wanted);
  return {memory_.mutableBytes() + count_, memory_.count() - count_};
}

void BodyMemory::grow(std::size_t wanted) {
  std::size_t capacity = std::max(wanted, 2 * memory_.count());
  if (wanted <= announced_) capacity = std::max(wanted, std::min(announced_, std::max(firstStep, 4 * memory_.count())));
  memory_.reserve(capacity);
  memory_.resize(capacity);
  if (capacity != announced_ || capacity - count_ < hugeBodyBytes) return;
  askForHugePages({memory_.mutableBytes() + count_, capacity - count_});
}

void BodyMemory::append(std::span<const std::byte> bytes) {
  if (bytes.empty()) return;
  std::memcpy(room(bytes.size()).data(), bytes.data(), bytes.size());
  filled(bytes.size());
}

Data BodyMemory::take() {
  Data body = std::exchange(memory_, Data());
  body.resize(std::exchange(count_, 0));
  announced_ = 0;
  return body;
}

}  // namespace platform::detail
