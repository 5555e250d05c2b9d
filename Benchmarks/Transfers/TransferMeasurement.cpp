#include "Transfers/TransferMeasurement.hpp"

#include <stdlib.h>

#include <chrono>
#include <stdexcept>

namespace bench {
namespace {

constexpr const char* marker = "--transfer";

std::unique_ptr<Mover> makeMover(const TransferPlan& plan) {
  for (const MoverKind& kind : moverKinds()) {
    if (plan.mover == kind.name) return kind.make(plan.task);
  }
  throw std::runtime_error("There is no client '" + plan.mover + "'");
}

std::vector<std::string> argumentsFrom(const TransferPlan& plan) {
  return {"/proc/self/exe",
          marker,
          plan.mover,
          nameOf(plan.task.direction),
          std::to_string(plan.task.port),
          plan.task.folder.string(),
          plan.task.source.string(),
          std::to_string(plan.count),
          std::to_string(plan.core)};
}

TransferPlan planFrom(const std::vector<std::string>& arguments) {
  return {.mover = arguments.at(2),
          .task = {.direction = directionOf(arguments.at(3)),
                   .port = static_cast<std::uint16_t>(std::stoi(arguments.at(4))),
                   .folder = arguments.at(5),
                   .source = arguments.at(6)},
          .count = std::stoi(arguments.at(7)),
          .core = std::stoi(arguments.at(8))};
}

void requireAndRemove(const std::filesystem::path& download) {
  if (std::filesystem::file_size(download) != transferBytes) throw std::runtime_error("The download is not complete");
  std::filesystem::remove(download);
}

void moveOnce(Mover& mover, Measurement& total) {
  const double cpuBefore = mover.usage().cpuSeconds;
  const auto start = std::chrono::steady_clock::now();
  const std::filesystem::path download = mover.move();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  total.seconds += elapsed.count();
  total.cpuSeconds += mover.usage().cpuSeconds - cpuBefore;
  if (!download.empty()) requireAndRemove(download);
}

Measurement runHere(const TransferPlan& plan) {
  stayOnCore(plan.core);
  // Where the library makes its files.
  setenv("TMPDIR", plan.task.folder.c_str(), 1);
  const std::unique_ptr<Mover> mover = makeMover(plan);
  const double idleMebibytes = mover->usage().peakMebibytes;
  Measurement warmUp;
  moveOnce(*mover, warmUp);
  Measurement measurement;
  for (int done = 0; done < plan.count; ++done) moveOnce(*mover, measurement);
  measurement.peakMebibytes = mover->usage().peakMebibytes - idleMebibytes;
  return measurement;
}

}  // namespace

Measurement measure(const TransferPlan& plan) { return measurementOf(argumentsFrom(plan)); }

bool isTransferringProcess(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 && arguments[1] == marker;
}

void runTransferringProcess(const std::vector<std::string>& arguments) { tell(runHere(planFrom(arguments))); }

}  // namespace bench
