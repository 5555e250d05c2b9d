#pragma once

#include <Corvane/Corvane.hpp>
#include <Platform/Dispatch/DispatchSource.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "ProgressLine.hpp"
#include "TerminalLine.hpp"
#include "TransferRate.hpp"

/// Shows on a terminal how far exchanges have come, on one line that is written over again and again. Main thread
/// only.
class ProgressBar {
 public:
  enum class Subject {
    /// How many bytes have moved.
    transfers,
    /// How many responses have come.
    batch
  };

  /// `terminal` is a descriptor; the exchanges have the numbers from 1 to `count`.
  ProgressBar(int terminal, Subject subject, std::int64_t count);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// A transfer has come that far.
  void show(int number, const corvane::HTTPProgress& progress);
  /// One more exchange has ended. Clears the line, so that something else can be written.
  void finish(bool hasFailed);
  /// Clears the line until it is drawn the next time.
  void clear() { line_.clear(); }
  /// Shows the line again, unless that was done just now.
  void goOn();

 private:
  struct Amount {
    std::int64_t completedBytes;
    std::int64_t totalBytes;
  };

  double now() const;
  std::string text(double seconds);
  TransferState transferState(double seconds) const;
  BatchState batchState(double seconds) const;
  void draw();

  TerminalLine line_;
  const Subject subject_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  /// Beats also while nothing moves, for the rate and the time.
  const platform::DispatchTimer timer_;
  std::map<int, Amount> amounts_;
  /// Of bytes, or of responses.
  TransferRate rate_;
  const std::int64_t count_;
  std::int64_t finished_ = 0;
  std::int64_t failed_ = 0;
  double lastDrawn_ = 0;
};
