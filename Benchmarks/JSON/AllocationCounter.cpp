#include "JSON/AllocationCounter.hpp"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

// glibc's own functions, under the names they keep when a program brings its own (glibc manual, "Replacing malloc").
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

bool isCounting = false;
std::ptrdiff_t liveBytes = 0;
std::ptrdiff_t peakBytes = 0;

std::ptrdiff_t sizeOf(void* block) { return static_cast<std::ptrdiff_t>(malloc_usable_size(block)); }

void* counted(void* block) {
  if (isCounting) {
    liveBytes += sizeOf(block);
    peakBytes = std::max(peakBytes, liveBytes);
  }
  return block;
}

}  // namespace

extern "C" {
void* malloc(std::size_t size) { return counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) { return counted(__libc_calloc(count, size)); }
void* memalign(std::size_t alignment, std::size_t size) { return counted(__libc_memalign(alignment, size)); }
void* aligned_alloc(std::size_t alignment, std::size_t size) { return counted(__libc_memalign(alignment, size)); }

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = counted(__libc_memalign(alignment, size));
  return *block != nullptr ? 0 : ENOMEM;
}

void* realloc(void* block, std::size_t size) {
  const std::ptrdiff_t before = sizeOf(block);
  void* moved = __libc_realloc(block, size);
  if (moved == nullptr && size > 0) return nullptr;
  if (isCounting) liveBytes -= before;
  return counted(moved);
}

void free(void* block) {
  if (isCounting) liveBytes -= sizeOf(block);
  __libc_free(block);
}
}

namespace bench {

AllocationCounter::AllocationCounter() {
  liveBytes = 0;
  peakBytes = 0;
  isCounting = true;
}

AllocationCounter::~AllocationCounter() { isCounting = false; }
std::ptrdiff_t AllocationCounter::live() const { return liveBytes; }
std::ptrdiff_t AllocationCounter::peak() const { return peakBytes; }

}  // namespace bench
