#include "FailingAllocations.hpp"

#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>

namespace corvane::testkit {

namespace {

std::atomic<bool> isCounting = false;
std::atomic<bool> failsLaterOnes = false;
std::atomic<bool> showsStacks = false;
std::atomic<bool> hasFailed = false;
/// How many calls are left until the one that fails.
std::atomic<long> left = 0;
thread_local int exemptions = 0;

bool isToFail() {
  if (!isCounting.load(std::memory_order_relaxed) || exemptions > 0) return false;
  const long before = left.fetch_sub(1, std::memory_order_relaxed);
  const bool fails = before == 1 || (before < 1 && failsLaterOnes.load(std::memory_order_relaxed));
  if (fails) hasFailed = true;
  return fails;
}

void showStack() {
  std::array<void*, 48> frames;
  ::backtrace_symbols_fd(frames.data(), ::backtrace(frames.data(), static_cast<int>(frames.size())), STDERR_FILENO);
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, "\n", 1);
}

void* allocated(std::size_t bytes, std::size_t alignment) {
  if (isToFail()) {
    if (showsStacks) showStack();
    throw std::bad_alloc();
  }
  const std::size_t whole = bytes == 0 ? 1 : bytes;
  void* const memory = alignment <= alignof(std::max_align_t)
                           ? std::malloc(whole)
                           : std::aligned_alloc(alignment, (whole + alignment - 1) / alignment * alignment);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

void FailingAllocations::begin(std::size_t number, Which which) noexcept {
  hasFailed = false;
  failsLaterOnes = which == Which::andLater;
  left = static_cast<long>(number);
  isCounting = true;
}

bool FailingAllocations::end() noexcept {
  isCounting = false;
  return hasFailed;
}

void FailingAllocations::showStacks() noexcept { showsStacks = true; }

void FailingAllocations::showStackOfTermination() noexcept {
  static std::terminate_handler before = nullptr;
  before = std::set_terminate([] {
    showStack();
    before();
  });
}

FailingAllocations::Exempt::Exempt() noexcept { ++exemptions; }
FailingAllocations::Exempt::~Exempt() { --exemptions; }

}  // namespace corvane::testkit

// The other forms of `new` and `delete` call these.

void* operator new(std::size_t bytes) { return corvane::testkit::allocated(bytes, alignof(std::max_align_t)); }
void* operator new(std::size_t bytes, std::align_val_t alignment) {
  return corvane::testkit::allocated(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
