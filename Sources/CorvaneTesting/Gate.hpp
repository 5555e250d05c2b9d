#pragma once

#include <memory>

namespace corvane::testing {

/// Holds answers back until the test opens it: an event in place of a guessed delay. Copies are the same gate;
/// any thread may open it, and it stays open.
class Gate {
 public:
  /// A gate that is closed.
  Gate();

  /// Lets through all that wait, and all that come later. Again is fine.
  void open() const;
  /// Whether `open` was called.
  bool isOpen() const;

  /// Readable once the gate is open; for the server's loops.
  int descriptor() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace corvane::testing
