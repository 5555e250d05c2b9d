#pragma once

#include <string>
#include <vector>

#include "Harness/Deployment.hpp"
#include "Harness/Report.hpp"
#include "Transfers/Transfer.hpp"

namespace bench {

/// One way of a file, by all clients in turn, and what was measured so far.
class TransferSeries {
 public:
  /// The server must stay as long as this; `task.port` is set to its plain port.
  TransferSeries(const RunningServer& server, TransferTask task, int count, int core);

  const std::string& title() const { return title_; }
  void runRound();
  bool wasMeasured() const { return !measurements_.back().empty(); }
  /// A table of the medians over the rounds, and beside each ratio the goal it is held to. Ratios are the medians of
  /// those within each round. Requires: `wasMeasured()`.
  std::string report() const;

 private:
  std::string row(std::size_t index) const;
  const Rounds& roundsOf(const std::string& mover) const;

  std::string title_;
  std::string server_;
  TransferTask task_;
  int count_;
  int core_;
  std::vector<MoverKind> kinds_;
  /// In the order of the kinds.
  std::vector<Rounds> measurements_;
};

/// What there is to measure with these servers: nginx does not look at what is put, so it only sends. Makes the file
/// that is sent, in the folder.
std::vector<TransferSeries> transferSeries(const std::vector<RunningServer>& servers,
                                           const std::filesystem::path& folder, bool quick, int core);

}  // namespace bench
