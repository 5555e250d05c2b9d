#pragma once

#include <cstddef>

namespace corvane::testkit {

/// Lets the process run out of memory at a chosen moment: the program that links this has an `operator new` that counts
/// its calls, on all threads, and throws `std::bad_alloc` when told to.
class FailingAllocations {
 public:
  enum class Which {
    one,      ///< only that call fails: memory is short for a moment, or for a large block
    andLater  ///< that call and all that follow fail
  };

  /// From now on the call with this number fails; the next one has the number 1.
  static void begin(std::size_t number, Which which) noexcept;
  /// No call fails any more. Returns whether one has failed since `begin`.
  static bool end() noexcept;
  /// Prints the stack of each call that fails to standard error.
  static void showStacks() noexcept;
  /// Prints the stack where an exception ends the process.
  static void showStackOfTermination() noexcept;

  /// While it lives, the calls of this thread are neither counted nor failed: what the test itself needs.
  class Exempt {
   public:
    Exempt() noexcept;
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
  };
};

}  // namespace corvane::testkit
