#pragma once

#include <memory>

namespace corvane::testing {

/// Holds responses back until the test opens it: an event in place of a guessed delay. Copies are the same latch;
/// any thread may open it, and it stays open.
class Latch {
 public:
  /// A latch that is closed.
  Latch();

  /// Lets through all that wait, and all that come later. Again is fine.
  void open() const;
  /// Whether `open` was called.
  bool isOpen() const;

  /// Readable once the latch is open; for the server's loops.
  int descriptor() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace corvane::testing
