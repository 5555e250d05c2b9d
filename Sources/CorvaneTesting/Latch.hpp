#pragma once

#include <memory>

namespace corvane::testkit {

/// Holds responses back until the test opens it, in place of a guessed delay. Copies are the same latch. Any thread may
/// open it; it then stays open.
class Latch {
 public:
  /// A closed latch.
  Latch();

  /// Releases all current and later waiters. May be called repeatedly.
  void open() const;
  /// Whether `open` was called.
  bool isOpen() const;

  /// A descriptor that is readable once the latch is open, for the server's loops.
  int descriptor() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace corvane::testkit
