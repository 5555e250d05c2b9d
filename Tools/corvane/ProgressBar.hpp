#pragma once

#include <Corvane/Corvane.hpp>
#include <Platform/Dispatch/DispatchSource.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "ProgressLine.hpp"
#include "TransferRate.hpp"

/// Shows on a terminal how far transfers have come, on one line that is written over again and again. Main thread
/// only.
class ProgressBar {
 public:
  /// `terminal` is a descriptor; the transfers have the numbers from 1 to `transfers`.
  ProgressBar(int terminal, int transfers);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// A transfer has come that far.
  void show(int number, const corvane::HTTPProgress& progress);
  /// One more transfer has ended. Clears the line, so that something else can be written.
  void finish();

 private:
  struct Amount {
    std::int64_t completedBytes;
    std::int64_t totalBytes;
  };

  double now() const;
  TransferState state() const;
  void draw();
  void clear();
  void write(const std::string& text) const;

  const int terminal_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  /// Beats also while nothing moves, for the rate and the time.
  const platform::DispatchTimer timer_;
  std::map<int, Amount> amounts_;
  TransferRate rate_;
  const int transfers_;
  int finished_ = 0;
  double lastDrawn_ = 0;
  std::size_t lineLength_ = 0;
};
