#include "Transfers/TransferSeries.hpp"

#include <fstream>
#include <stdexcept>

#include "Harness/Figures.hpp"
#include "Transfers/TransferMeasurement.hpp"

namespace bench {
namespace {

constexpr const char* unobservedName = "Corvane";
constexpr const char* observedName = "Corvane, observed";

Goals goalsOf(const std::string& mover) {
  if (mover == "Corvane handler") return {.rateAtLeast = 1.2, .extraMebibytesAtMost = 16};
  if (mover != unobservedName) return {};
  return {.rateAtLeast = 1.2, .cpuAtMost = 1, .extraMebibytesAtMost = 16};
}

std::string titleOf(Direction direction) {
  switch (direction) {
    case Direction::download:
      return "A file of 256 MiB, downloaded";
    case Direction::upload:
      return "A file of 256 MiB, uploaded";
    case Direction::stream:
      break;
  }
  return "256 MiB, handed out while they arrive and summed up";
}

double rate(const Measurement& measurement) { return 1 / measurement.seconds; }
double cpu(const Measurement& measurement) { return measurement.cpuSeconds; }
double peak(const Measurement& measurement) { return measurement.peakMebibytes; }

void writeSource(const std::filesystem::path& path) {
  std::string block(1 << 20, '\0');
  for (std::size_t index = 0; index < block.size(); ++index) block[index] = static_cast<char>(index % 251);
  std::ofstream file(path, std::ios::binary);
  for (std::uint64_t written = 0; written < transferBytes; written += block.size()) file << block;
  file.close();
  if (!file) throw std::runtime_error(path.string() + " cannot be written");
}

}  // namespace

TransferSeries::TransferSeries(const RunningServer& server, TransferTask task, int count, int core)
    : title_(titleOf(task.direction)),
      server_(server.name),
      task_(std::move(task)),
      count_(count),
      core_(core),
      kinds_(moverKinds(task_.direction)),
      measurements_(kinds_.size()) {
  task_.port = server.port(Wire::plain);
}

void TransferSeries::runRound() {
  for (std::size_t index = 0; index < measurements_.size(); ++index) {
    measurements_[index].push_back(
        measure({.mover = kinds_[index].name, .task = task_, .count = count_, .core = core_}));
  }
}

const Rounds& TransferSeries::roundsOf(const std::string& mover) const {
  std::size_t index = 0;
  while (kinds_[index].name != mover) ++index;
  return measurements_[index];
}

std::string TransferSeries::row(std::size_t index) const {
  const std::string name = kinds_[index].name;
  const Rounds& rounds = measurements_[index];
  const Rounds& baseline = measurements_.front();
  const Goals goals = goalsOf(name);
  const double mebibytes = static_cast<double>(transferBytes) / (1 << 20) * count_;
  std::string line = formatted("  %-20s %10.0f %10.0f", name.c_str(), mebibytes * medianOf(rounds, rate),
                               medianOf(rounds, cpu) * 1e3 / count_);
  line += "   " + atMost(medianOf(rounds, peak), goals.extraMebibytesAtMost, "%5.1f");
  line += "   rate " + atLeast(medianRatio(rounds, baseline, rate), goals.rateAtLeast);
  line += ", CPU " + atMost(medianRatio(rounds, baseline, cpu), goals.cpuAtMost);
  if (name == observedName)
    line += formatted(", %.3f of unobserved", medianRatio(rounds, roundsOf(unobservedName), cpu));
  return line + "\n";
}

std::string TransferSeries::report() const {
  std::string text = title_ + ", " + server_ + ", " + std::to_string(measurements_.front().size()) + " rounds\n";
  text +=
      formatted("  %-20s %10s %10s   MiB over idle   against %s\n", "client", "MiB/s", "CPU ms", kinds_.front().name);
  for (std::size_t index = 0; index < measurements_.size(); ++index) text += row(index);
  return text;
}

std::vector<TransferSeries> transferSeries(const std::vector<RunningServer>& servers,
                                           const std::filesystem::path& folder, bool quick, int core) {
  // An upload is quicker, since nothing is written to a disk, and its time varies more.
  const int downloads = quick ? 1 : 2;
  const int uploads = quick ? 2 : 6;
  const TransferTask download{.direction = Direction::download, .folder = folder};
  const TransferTask stream{.direction = Direction::stream, .folder = folder};
  const TransferTask upload{.direction = Direction::upload, .folder = folder, .source = folder / "upload"};
  writeSource(upload.source);
  std::vector<TransferSeries> all;
  for (const RunningServer& server : servers) {
    if (server.port(Wire::plain) == 0) continue;
    all.emplace_back(server, download, downloads, core);
    all.emplace_back(server, stream, uploads, core);
  }
  all.emplace_back(servers.front(), upload, uploads, core);
  return all;
}

}  // namespace bench
