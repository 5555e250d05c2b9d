#include "Harness/Counting.hpp"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "Harness/Figures.hpp"
#include "Harness/Measurement.hpp"

namespace bench {
namespace {

constexpr int fewExchanges = 500;
constexpr int moreExchanges = 2000;

/// A program that runs another one and counts.
struct Counter {
  const char* name;
  int concurrency;
  std::vector<std::string> (*command)(const std::string& log);
  double (*total)(std::istream& log);
};

[[noreturn]] void throwUncounted(const char* name) {
  throw std::runtime_error(std::string(name) + " did not tell what it counted");
}

double collected(std::istream& log) {
  for (std::string line; std::getline(log, line);) {
    constexpr const char* word = "Collected : ";
    if (const std::size_t at = line.find(word); at != std::string::npos) return std::stod(line.substr(at + 12));
  }
  throwUncounted("valgrind");
}

/// The fourth column of the last line: "100.00 0.1 3 4567 [8] total".
double totalOfCalls(std::istream& log) {
  for (std::string line; std::getline(log, line);) {
    if (!line.ends_with(" total")) continue;
    std::istringstream columns(line);
    std::string skipped;
    double calls = 0;
    if (columns >> skipped >> skipped >> skipped >> calls) return calls;
  }
  throwUncounted("strace");
}

constexpr Counter instructions{"valgrind", 16,
                               [](const std::string& log) -> std::vector<std::string> {
                                 return {"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                                         "--log-file=" + log};
                               },
                               collected};
constexpr Counter systemCalls{
    "strace", 64, [](const std::string& log) -> std::vector<std::string> { return {"strace", "-f", "-c", "-o", log}; },
    totalOfCalls};

double counted(const Counter& counter, const MeasuringPlan& plan, const std::filesystem::path& folder) {
  const std::string log = (folder / "counted.log").string();
  std::vector<std::string> command = counter.command(log);
  const std::vector<std::string> measuring = commandOf(plan);
  command.insert(command.end(), measuring.begin(), measuring.end());
  measurementOf(command);
  std::ifstream file(log);
  return counter.total(file);
}

std::optional<double> perExchange(const Counter& counter, const std::string& client, const RunningServer& server,
                                  const std::filesystem::path& folder, int core) {
  const Task task{.port = server.port(Wire::plain),
                  .path = "/small",
                  .concurrency = counter.concurrency,
                  .certificateFolder = folder.string()};
  const auto total = [&](int count) {
    return counted(counter,
                   {.client = client, .task = task, .warmUp = 2 * counter.concurrency, .count = count, .core = core},
                   folder);
  };
  try {
    const double ofFew = total(fewExchanges);
    return (total(moreExchanges) - ofFew) / (moreExchanges - fewExchanges);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s is not counted by %s: %s\n", client.c_str(), counter.name, error.what());
    return std::nullopt;
  }
}

std::string column(const std::optional<double>& count, const std::optional<double>& bound, const char* format) {
  return count ? atMost(*count, bound, format) : "not counted";
}

}  // namespace

std::string countReport(const RunningServer& server, const std::vector<CountedClient>& clients,
                        const std::filesystem::path& folder, int core) {
  std::string text =
      "What a small GET takes, " + server.name + "\n" +
      formatted("  %-20s %-38s %s\n", "client", "instructions, 16 at a time", "system calls, 64 at a time");
  for (const CountedClient& each : clients) {
    const std::string instructionsText =
        column(perExchange(instructions, each.client, server, folder, core), each.instructionsAtMost, "%.0f");
    const std::string callsText =
        column(perExchange(systemCalls, each.client, server, folder, core), each.callsAtMost, "%.2f");
    text += formatted("  %-20s %-38s %s\n", each.client.c_str(), instructionsText.c_str(), callsText.c_str());
  }
  return text;
}

}  // namespace bench
