// corvane_bench [--quick] [--rounds N] [--only TEXT]
//
// Measures clients side by side and prints tables; see Docs/Performance.md.

#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "Gzip/GzipBenchmark.hpp"
#include "Harness/Deployment.hpp"
#include "Harness/Measurement.hpp"
#include "Harness/Report.hpp"
#include "Harness/Scenario.hpp"

namespace {

using namespace bench;

constexpr int serverCore = 0;
constexpr int clientCore = 1;
constexpr const char* gzipTitle = "Gzip";

struct Options {
  bool quick = false;
  int rounds = 0;
  /// No further round is begun that would probably end later than this.
  double budgetSeconds = 0;
  /// Scenarios whose title holds this text.
  std::string only;
};

Options optionsFrom(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    const auto value = [&] {
      if (++index == arguments.size()) throw std::invalid_argument(arguments[index - 1] + " needs a value");
      return arguments[index];
    };
    if (arguments[index] == "--quick") {
      options.quick = true;
    } else if (arguments[index] == "--rounds") {
      options.rounds = std::stoi(value());
    } else if (arguments[index] == "--only") {
      options.only = value();
    } else {
      throw std::invalid_argument("usage: corvane_bench [--quick] [--rounds N] [--only TEXT]");
    }
  }
  if (options.rounds == 0) options.rounds = options.quick ? 2 : 5;
  options.budgetSeconds = options.quick ? 50 : 330;
  if (options.rounds < 0) throw std::invalid_argument("There must be at least one round");
  return options;
}

bool isWanted(const Options& options, const std::string& title) {
  return title.find(options.only) != std::string::npos;
}

/// A scenario at a server, and what was measured so far.
struct Series {
  Scenario scenario;
  const RunningServer& server;
  std::vector<Rounds> measurements;

  void runRound(const std::string& certificateFolder) {
    measurements.resize(scenario.contenders.size());
    for (std::size_t index = 0; index < scenario.contenders.size(); ++index) {
      Task task{.secure = scenario.secure,
                .port = scenario.secure ? server.securePort : server.plainPort,
                .path = scenario.path,
                .concurrency = scenario.concurrency,
                .bodyBytes = scenario.bodyBytes,
                .certificateFolder = certificateFolder};
      measurements[index].push_back(measure({.client = scenario.contenders[index].client,
                                             .task = std::move(task),
                                             .warmUp = scenario.warmUp,
                                             .count = scenario.count,
                                             .core = scenario.onServersCore ? serverCore : clientCore}));
    }
  }
};

std::vector<Series> seriesFrom(const Options& options, const std::vector<RunningServer>& servers) {
  std::vector<Series> all;
  for (const Scenario& scenario : scenarios(options.quick)) {
    if (!isWanted(options, scenario.title)) continue;
    for (const RunningServer& server : servers) {
      if (&server == &servers.front() || scenario.onNginx) all.push_back({scenario, server, {}});
    }
  }
  return all;
}

/// How many there were: at least one, at most those asked for.
int runRounds(const Options& options, std::vector<Series>& all, const std::string& certificateFolder) {
  const auto start = std::chrono::steady_clock::now();
  for (int round = 1;; ++round) {
    std::fprintf(stderr, "round %d of %d\n", round, options.rounds);
    for (Series& series : all) series.runRound(certificateFolder);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (round == options.rounds) return round;
    if (elapsed.count() * (round + 1) / round > options.budgetSeconds) {
      std::fprintf(stderr, "no time for more rounds\n");
      return round;
    }
  }
}

void runAll(const Options& options, const std::filesystem::path& program) {
  const TemporaryFolder folder;
  makeCertificates(folder.path());
  std::vector<RunningServer> servers;
  servers.push_back(startPlainServer(program.parent_path() / "corvane_bench_server", folder.path(), serverCore));
  if (auto nginx = startNginx(folder.path(), serverCore)) {
    servers.push_back(std::move(*nginx));
  } else {
    std::fputs("nginx is not installed; only the server of our own is used.\n", stderr);
  }
  std::vector<Series> all = seriesFrom(options, servers);
  if (!all.empty()) std::printf("Medians of %d rounds.\n\n", runRounds(options, all, folder.path().string()));
  for (const Series& series : all) {
    std::puts(report(series.scenario, series.server.name, series.measurements).c_str());
  }
  if (isWanted(options, gzipTitle)) std::fputs(gzipReport(options.quick ? 5 : 15).c_str(), stdout);
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
  const std::vector<std::string> arguments(argumentValues, argumentValues + argumentCount);
  try {
    if (isMeasuringProcess(arguments)) {
      runMeasuringProcess(arguments);
    } else {
      runAll(optionsFrom(arguments), std::filesystem::read_symlink("/proc/self/exe"));
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane_bench: %s\n", error.what());
    return 1;
  }
}
