#pragma once

#include <chrono>
#include <string>

namespace corvane::testkit {

/// Names whose look-up stands still, as that of a broken resolver does. In a program that uses this, it takes the
/// place of the system's `getaddrinfo`: all other names are looked up as usual.
///
/// From its making to `release`, or its destruction. There can be one at a time.
class HeldLookUps {
 public:
  /// A name that is held, as are all names below it.
  static constexpr const char* name = "held.test";
  /// A name that leads to 127.0.0.1, and is looked up like any other.
  static constexpr const char* localName = "here.test";
  /// How often that one was looked up.
  static int localLookUps();
  /// A name of two addresses, 127.0.0.1 and 127.0.0.2 in this order.
  static constexpr const char* twofoldName = "twofold.test";
  /// A name that does not exist, which is known at once.
  static constexpr const char* missingName = "missing.test";
  /// A name that no name server answers for at the moment.
  static constexpr const char* unansweredName = "unanswered.test";

  HeldLookUps();
  ~HeldLookUps();
  HeldLookUps(const HeldLookUps&) = delete;
  HeldLookUps& operator=(const HeldLookUps&) = delete;

  /// Lets go of what stands still: it finds no such host. Returns when all have.
  void release();
  /// How many look-ups stand still.
  int waiting() const;
  /// False when the limit passed first.
  [[nodiscard]] bool waitForWaiting(int count, std::chrono::milliseconds limit = std::chrono::seconds(20)) const;
};

}  // namespace corvane::testkit
