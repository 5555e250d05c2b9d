#pragma once

#include <cstdint>
#include <string>

/// How far one or several transfers have come.
struct TransferState {
  /// Never negative.
  std::int64_t completedBytes = 0;
  /// -1 while nobody knows.
  std::int64_t totalBytes = -1;
  double bytesPerSecond = 0;
  /// Since the first of them began.
  double seconds = 0;
  std::int64_t finishedTransfers = 0;
  std::int64_t transfers = 1;
};

/// How far a batch of small exchanges has come.
struct BatchState {
  /// Those that failed included.
  std::int64_t responses = 0;
  std::int64_t requests = 1;
  std::int64_t failures = 0;
  double responsesPerSecond = 0;
  /// Since the first of them was sent.
  double seconds = 0;
};

/// One line of at most so many columns, in ASCII, without a line break: how much is done, how fast it goes and how
/// long it will take; or how long it took so far, where that cannot be told. What does not fit is left out.
///
///     42% [########------------]  12.3 MB of 29.1 MB, 4.5 MB/s, 0:03 left
///     12.3 MB, 4.5 MB/s, after 0:02
std::string progressLine(const TransferState& state, int columns);
/// The same of one of several, with its name before, cut in the middle where it is long:
///
///     manual.pdf                 42% [########------------]  12.3 MB of 29.1 MB, 4.5 MB/s, 0:03 left
std::string namedLine(const std::string& name, const TransferState& state, int columns);
/// What came of several, when all are over:
///
///     3 of 4 files, 29.1 MB in 0:07, 1 failed
std::string summaryLine(const TransferState& state, std::int64_t failures);
/// The same for a batch:
///
///     12 of 40, 2 failed, 3.5 a second, after 0:04
std::string batchLine(const BatchState& state, int columns);

/// "512 B", "12.3 kB", "105 MB": in steps of 1000, as networks are measured.
std::string byteText(double bytes);
/// "0:07", "12:34", "1:02:03".
std::string timeText(double seconds);
