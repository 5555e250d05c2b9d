#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "FailingAllocations.hpp"

namespace corvane::testkit {

/// Counts what came of one operation. Copies share it.
class Outcomes {
 public:
  Outcomes();

  /// It was told, by a completion or a value. Any thread.
  void add(bool isError = false) const;
  int count() const;
  bool hadError() const;
  /// Waits, as long as it takes: whoever started this process ends it when that is too long.
  void await(int least) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

/// One run of a scene, in which an allocation fails.
class SweepRun {
 public:
  SweepRun(std::string server, std::size_t number, FailingAllocations::Which which)
      : server_(std::move(server)), number_(number), which_(which) {}

  URL url(std::string_view target) const { return URL(server_ + std::string(target)); }
  const DispatchQueue& queue() const { return queue_; }
  const Outcomes& outcomes() const { return outcomes_; }

  /// Calls the function while memory runs out. An exception is an outcome; false then.
  template <class Function>
  bool attempt(Function function) {
    if (!std::exchange(hasBegun_, true)) FailingAllocations::begin(number_, which_);
    try {
      function();
      return true;
    } catch (...) {
      const FailingAllocations::Exempt exempt;
      hasThrown_ = true;
      outcomes_.add(true);
      return false;
    }
  }
  /// The same for an operation that tells its outcome later, which is then awaited.
  template <class Function>
  void attemptAndAwait(Function function) {
    if (attempt(std::move(function))) outcomes_.await(1);
  }
  /// Memory is there again. Returns whether it was missing.
  bool end() { return hasBegun_ && FailingAllocations::end(); }
  bool hasThrown() const { return hasThrown_; }

 private:
  const std::string server_;
  const std::size_t number_;
  const FailingAllocations::Which which_;
  const DispatchQueue queue_{"sweep"};
  const Outcomes outcomes_;
  bool hasBegun_ = false;
  bool hasThrown_ = false;
};

/// A form of sending, run while an allocation fails. Exactly one outcome is to come of it.
struct SweepScene {
  const char* name;
  void (*run)(SweepRun& run);
};

/// All of them.
const std::vector<SweepScene>& sweepScenes();
/// Those with a client configuration, and of responses that flow.
std::span<const SweepScene> sweepPolicyScenes();

}  // namespace corvane::testkit
