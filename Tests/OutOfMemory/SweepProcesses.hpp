#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

#include "SweepRun.hpp"

namespace corvane::testkit {

/// A server for all runs, in a process of its own, where memory never runs out. It ends with the process that started
/// it.
class SweepServer {
 public:
  SweepServer();
  ~SweepServer();
  SweepServer(const SweepServer&) = delete;
  SweepServer& operator=(const SweepServer&) = delete;

  /// Without a target.
  const std::string& url() const { return url_; }

 private:
  pid_t process_ = -1;
  std::string url_;
};

/// What came of one allocation that failed.
enum class SweepVerdict : char {
  value = 'v',       ///< the operation succeeded all the same
  error = 'e',       ///< its outcome is an error
  exception = 'x',   ///< the call threw, and told nothing
  ended = 'o',       ///< the process ended with a sentence that says "out of memory"
  notReached = 'n',  ///< the operation was over before
  repeated = '2',    ///< more than one outcome
  unusable = 'u',    ///< the next request of the process failed
  hung = 'h',        ///< nothing came of it
  crashed = 'c'      ///< the process ended in any other way
};

/// Which allocations of a scene fail.
struct SweepRange {
  std::size_t first = 1;
  std::size_t step = 1;
  std::size_t last = 100'000;
  /// Whether each run has a process of its own, in which the library was not used before.
  bool isCold = false;
};

/// Processes that run a scene for one number after another. One that hangs is killed, and another goes on behind it.
class SweepWorkers {
 public:
  SweepWorkers(const SweepScene& scene, FailingAllocations::Which which, SweepRange range, std::string server,
               int patienceSeconds)
      : scene_(scene), which_(which), range_(range), server_(std::move(server)), patience_(patienceSeconds) {}

  struct Finding {
    std::size_t number = 0;
    SweepVerdict verdict = SweepVerdict::notReached;
    /// What a process that ended wrote to standard error.
    std::string text;
  };

  /// Calls `tell` with each finding, up to the number that is not reached any more.
  template <class Tell>
  void run(Tell tell) {
    std::size_t next = range_.first;
    while (next <= range_.last) {
      const Finding finding = nextFinding(next);
      tell(finding);
      if (finding.verdict == SweepVerdict::notReached) return;
      next = finding.number + range_.step;
    }
    stop();
  }
  ~SweepWorkers() { stop(); }
  SweepWorkers(const SweepWorkers&) = delete;
  SweepWorkers& operator=(const SweepWorkers&) = delete;

 private:
  Finding nextFinding(std::size_t number);
  void start(std::size_t number);
  void stop();
  Finding ending(std::size_t number, bool isKilled);
  [[noreturn]] void work(std::size_t number, int reports) const;

  const SweepScene& scene_;
  const FailingAllocations::Which which_;
  const SweepRange range_;
  const std::string server_;
  const int patience_;
  pid_t process_ = -1;
  int reports_ = -1;
  int errors_ = -1;
};

/// One run in this process, for a debugger; the library was not used before.
SweepVerdict runOnce(const SweepScene& scene, FailingAllocations::Which which, std::size_t number,
                     const std::string& server, bool isCold);

}  // namespace corvane::testkit
