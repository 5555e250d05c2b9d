#include "Harness/Counting.hpp"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "Harness/Figures.hpp"
#include "Harness/Measurement.hpp"

namespace bench {
namespace {

/// A program that runs another one and counts.
struct Counter {
  const char* name;
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

constexpr Counter instructions{"valgrind",
                               [](const std::string& log) -> std::vector<std::string> {
                                 return {"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                                         "--log-file=" + log};
                               },
                               collected};
constexpr Counter systemCalls{
    "strace", [](const std::string& log) -> std::vector<std::string> { return {"strace", "-f", "-c", "-o", log}; },
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

std::optional<double> perExchange(const Counter& counter, const std::string& client, Task task,
                                  const CountedExchange& exchange, int core) {
  const std::filesystem::path folder = task.certificateFolder;
  const auto total = [&](int count) {
    return counted(counter,
                   {.client = client, .task = task, .warmUp = 2 * task.concurrency, .count = count, .core = core},
                   folder);
  };
  try {
    const double ofFew = total(exchange.few);
    return (total(exchange.more) - ofFew) / (exchange.more - exchange.few);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s is not counted by %s: %s\n", client.c_str(), counter.name, error.what());
    return std::nullopt;
  }
}

std::string column(const std::optional<double>& count, const std::optional<double>& bound, const char* format) {
  return count ? atMost(*count, bound, format) : "not counted";
}

}  // namespace

std::vector<CountedExchange> countedExchanges() {
  return {{.title = "What a small GET takes",
           .path = "/small",
           .concurrencyForInstructions = 16,
           .concurrencyForCalls = 64,
           .few = 500,
           .more = 2000,
           .clients = {{.client = "raw socket"},
                       {.client = "Boost.Beast"},
                       {.client = "libcurl multi"},
                       {.client = "Corvane", .instructionsAtMost = 30000, .callsAtMost = 2.4}}},
          {.title = "What a small GET over a new TLS connection takes",
           .wire = Wire::tls,
           .path = "/close",
           .few = 20,
           .more = 80,
           .clients = {{.client = "OpenSSL"}, {.client = "libcurl easy"}, {.client = "Corvane"}}}};
}

std::string countReport(const RunningServer& server, const CountedExchange& exchange,
                        const std::filesystem::path& folder, int core) {
  std::string text = exchange.title + ", " + server.name + "\n" +
                     formatted("  %-20s %-38s %s\n", "client",
                               formatted("instructions, %d at a time", exchange.concurrencyForInstructions).c_str(),
                               formatted("system calls, %d at a time", exchange.concurrencyForCalls).c_str());
  Task task{.wire = exchange.wire,
            .port = server.port(exchange.wire),
            .path = exchange.path,
            .certificateFolder = folder.string()};
  for (const CountedClient& each : exchange.clients) {
    task.concurrency = exchange.concurrencyForInstructions;
    const auto ofInstructions = perExchange(instructions, each.client, task, exchange, core);
    task.concurrency = exchange.concurrencyForCalls;
    const auto ofCalls = perExchange(systemCalls, each.client, task, exchange, core);
    text += formatted("  %-20s %-38s %s\n", each.client.c_str(),
                      column(ofInstructions, each.instructionsAtMost, "%.0f").c_str(),
                      column(ofCalls, each.callsAtMost, "%.2f").c_str());
  }
  return text;
}

}  // namespace bench
