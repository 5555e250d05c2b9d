#pragma once

#include <cstddef>

namespace bench {

/// Counts what this process holds on the heap, by standing in for `malloc` and its relatives. Only one at a time, and
/// only while one thread runs.
class AllocationCounter {
 public:
  AllocationCounter();
  ~AllocationCounter();
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;

  /// Bytes allocated since the start and not freed; negative when older ones were freed.
  std::ptrdiff_t live() const;
  /// The most that were live at any time.
  std::ptrdiff_t peak() const;
};

}  // namespace bench
