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
#include "Harness/Counting.hpp"
#include "Harness/Deployment.hpp"
#include "Harness/Measurement.hpp"
#include "Harness/Report.hpp"
#include "Harness/Scenario.hpp"
#include "Transfers/TransferMeasurement.hpp"
#include "Transfers/TransferSeries.hpp"

namespace {

using namespace bench;

constexpr int serverCore = 0;
constexpr int clientCore = 1;
constexpr const char* gzipTitle = "Gzip";
struct Options {
  bool quick = false;
  int rounds = 0;
  /// Nothing further is begun after this, for exchanges and for transfers of files.
  double budgetSeconds = 0;
  double transferBudgetSeconds = 0;
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
  options.budgetSeconds = options.quick ? 40 : 300;
  options.transferBudgetSeconds = options.quick ? 15 : 80;
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
      Task task{.wire = scenario.wire,
                .port = server.port(scenario.wire),
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
      const bool isOurs = &server == &servers.front();
      if (server.port(scenario.wire) != 0 && (isOurs || scenario.onNginx)) all.push_back({scenario, server, {}});
    }
  }
  return all;
}

/// Ends early, in the middle of a round if need be, when the time is up.
template <class OneSeries, class RunRound>
void runRounds(int rounds, double budgetSeconds, std::vector<OneSeries>& all, RunRound runRound) {
  if (all.empty()) return;
  const auto start = std::chrono::steady_clock::now();
  for (int round = 1; round <= rounds; ++round) {
    std::fprintf(stderr, "round %d of %d\n", round, rounds);
    for (OneSeries& series : all) {
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
      if (elapsed.count() > budgetSeconds) {
        std::fputs("The time is up; is the machine busy with something else?\n", stderr);
        return;
      }
      runRound(series);
    }
  }
}

void runExchanges(const Options& options, const std::vector<RunningServer>& servers,
                  const std::filesystem::path& folder) {
  std::vector<Series> all = seriesFrom(options, servers);
  runRounds(options.rounds, options.budgetSeconds, all, [&](Series& series) { series.runRound(folder.string()); });
  for (const Series& series : all) {
    if (series.measurements.empty()) continue;
    std::puts(report(series.scenario, series.server.name, series.measurements).c_str());
  }
}

void runTransfers(const Options& options, const std::vector<RunningServer>& servers,
                  const std::filesystem::path& folder) {
  std::vector<TransferSeries> all = transferSeries(servers, folder, options.quick, clientCore);
  std::erase_if(all, [&](const TransferSeries& series) { return !isWanted(options, series.title()); });
  runRounds(options.rounds, options.transferBudgetSeconds, all, [](TransferSeries& series) { series.runRound(); });
  for (const TransferSeries& series : all) {
    if (series.wasMeasured()) std::puts(series.report().c_str());
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
  if (auto nghttpd = startNghttpd(folder.path(), serverCore)) servers.push_back(std::move(*nghttpd));
  for (const CountedExchange& exchange : countedExchanges()) {
    if (!isWanted(options, exchange.title)) continue;
    std::puts(countReport(servers.front(), exchange, folder.path(), clientCore).c_str());
  }
  runExchanges(options, servers, folder.path());
  runTransfers(options, servers, folder.path());
  if (isWanted(options, gzipTitle)) std::fputs(gzipReport(options.quick ? 5 : 15).c_str(), stdout);
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
  const std::vector<std::string> arguments(argumentValues, argumentValues + argumentCount);
  try {
    if (isMeasuringProcess(arguments)) {
      runMeasuringProcess(arguments);
    } else if (isTransferringProcess(arguments)) {
      runTransferringProcess(arguments);
    } else {
      runAll(optionsFrom(arguments), std::filesystem::read_symlink("/proc/self/exe"));
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane_bench: %s\n", error.what());
    return 1;
  }
}
