#pragma once

#include <Corvane/Corvane.hpp>
#include <Platform/Dispatch/DispatchSource.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ProgressLine.hpp"
#include "TerminalLine.hpp"
#include "TransferRate.hpp"

/// Shows on a terminal how far exchanges have come, on one line that is written over again and again; of several
/// transfers, on one for each that is under way and one for all. Main thread only.
class ProgressBar {
 public:
  enum class Subject {
    /// How many bytes have moved.
    transfers,
    /// How many responses have come.
    batch
  };

  struct Plan {
    Subject subject = Subject::transfers;
    /// The exchanges have the numbers from 1 to this.
    std::int64_t count = 1;
    /// Whether the first bytes that are told of may be of an earlier run: they did not move now.
    bool resumes = false;
  };

  /// `terminal` is a descriptor.
  ProgressBar(int terminal, Plan plan);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// The exchange with that number is under way.
  void begin(int number, const std::string& name);
  /// A transfer has come that far.
  void show(int number, const corvane::HTTPProgress& progress);
  /// One more exchange has ended. Clears the lines, so that something else can be written.
  void finish(int number, bool hasFailed);
  /// What came of several transfers; empty of anything else.
  std::string summary() const;
  /// Clears the line until it is drawn the next time.
  void clear() { line_.clear(); }
  /// Shows the line again, unless that was done just now.
  void goOn();

 private:
  struct Amount {
    std::int64_t completedBytes;
    std::int64_t totalBytes;
    /// Those that did not move now.
    std::int64_t bytesBefore;
  };
  struct Transfer {
    std::string name;
    double start;
    TransferRate rate;
  };

  double now() const;
  std::string text(double seconds);
  std::vector<std::string> lines(double seconds);
  std::string line(int number, Transfer& transfer, double seconds) const;
  TransferState transferState(double seconds) const;
  BatchState batchState(double seconds) const;
  void draw();

  TerminalLine line_;
  const Plan plan_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  /// Beats also while nothing moves, for the rate and the time.
  const platform::DispatchTimer timer_;
  std::map<int, Amount> amounts_;
  std::map<int, Transfer> underWay_;
  /// Of bytes, or of responses.
  TransferRate rate_;
  std::int64_t finished_ = 0;
  std::int64_t failed_ = 0;
  double lastDrawn_ = 0;
};
