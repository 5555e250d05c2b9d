#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "Corvane/Corvane.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace corvane::testkit {

/// One operation of the storm, and what came of it.
class StormOperation {
 public:
  using Clock = std::chrono::steady_clock;

  /// `isInLine`: it waits for others of its kind, by design and for as long as those take.
  StormOperation(const char* kind, bool isInLine) : kind_(kind), isInLine_(isInLine) {}

  const char* kind() const { return kind_; }
  bool isInLine() const { return isInLine_; }
  /// It was told an outcome. Any thread.
  void tell();
  int outcomes() const { return outcomes_.load(); }
  /// Until its first outcome.
  Clock::duration waited() const { return ended_.load() - begun_; }

 private:
  const char* const kind_;
  const bool isInLine_;
  const Clock::time_point begun_ = Clock::now();
  std::atomic<Clock::time_point> ended_ = Clock::time_point();
  std::atomic<int> outcomes_ = 0;
};

/// Where the operations go.
struct StormTargets {
  std::string server;  ///< with the standard routes, and "/stall", which says nothing
  std::string silent;  ///< a port that accepts no connection
};

/// The operations of one thread: so many are begun one after another, of kinds that chance picks, with a few under way
/// at a time.
class StormThread {
 public:
  StormThread(const StormTargets& targets, std::uint64_t seed) : targets_(targets), random_(seed) {}
  StormThread(const StormThread&) = delete;
  StormThread& operator=(const StormThread&) = delete;

  /// Returns when each has an outcome.
  void run(int count);
  const std::deque<StormOperation>& operations() const { return operations_; }

 private:
  using Operation = StormOperation;

  std::uint64_t next();
  URL url(const char* target) const { return URL(targets_.server + target); }
  void begin();
  Operation& operation(const char* kind, bool isInLine = false) { return operations_.emplace_back(kind, isInLine); }
  /// A completion that ends the operation.
  auto ending(Operation& operation) {
    return [this, &operation](const auto&...) { end(operation); };
  }
  void end(Operation& operation);

  void send();
  void get();
  void cancel();
  void cancelFuture();
  void stop();
  void endByDeadline();
  void cancelConnecting();
  void timeOutConnecting();
  void retry();
  void cancelRetry();
  void parallelBatch();
  void serialBatch();
  void poll();
  void mock();
  void download();
  void post();
  void reset();

  const StormTargets targets_;
  std::uint64_t random_;
  const DispatchQueue queue_{"storm"};
  /// Counts those that may be begun.
  const platform::DispatchSemaphore room_{atOnce};
  static constexpr int atOnce = 16;
  /// They stay where they are, since completions refer to them.
  std::deque<StormOperation> operations_;
};

}  // namespace corvane::testkit
