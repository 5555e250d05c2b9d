#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CorvaneTesting/Ports.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "StormOperations.hpp"
#include "TestSupport/StandardRoutes.hpp"
#include "Vantorel/LogSink.hpp"

// A storm of sends, cancellations, resets, polls, retries and batches on eight threads. Each operation is to have
// exactly one outcome; the process hangs when one has none. Those that waited for long are listed, and judged by who
// reads: nothing in the storm waits for more than its time-out of 0.2 s, but for serial batches, which run one after
// another.
//
//   send_storm [OPERATIONS [SECONDS]]    how many in all, and how long a wait is long

namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::SilentPort;
using corvane::testkit::StormOperation;
using corvane::testkit::StormTargets;
using corvane::testkit::StormThread;
using corvane::testkit::TestServer;

constexpr int threadCount = 8;

/// That a type is told to stop polling which another thread has stopped is no news here.
struct Silence final : vantorel::LogSink {
  void write(const vantorel::LogRecord&) override {}
};

/// What is under way anyhow ends, so that an outcome that comes twice has come.
void settle(const std::string& server) {
  corvane::Corvane::resetSessions();
  corvane::DataGetRequest(server + "/get").send().result();
}

/// How many operations have not exactly one outcome.
int report(const std::vector<std::unique_ptr<StormThread>>& threads, double longWait) {
  struct Kind {
    int count = 0;
    double longest = 0;
  };
  std::map<std::string, Kind> kinds;
  int defects = 0;
  for (const auto& thread : threads) {
    for (const StormOperation& operation : thread->operations()) {
      Kind& kind = kinds[operation.kind()];
      const double waited = std::chrono::duration<double>(operation.waited()).count();
      ++kind.count;
      kind.longest = std::max(kind.longest, waited);
      if (waited > longWait && !operation.isInLine()) std::printf("long: %s, %.2f s\n", operation.kind(), waited);
      if (operation.outcomes() == 1) continue;
      ++defects;
      std::printf("DEFECT: %s, %d outcomes\n", operation.kind(), operation.outcomes());
    }
  }
  for (const auto& [name, kind] : kinds) {
    std::printf("%-26s %6d, the longest %.2f s\n", name.c_str(), kind.count, kind.longest);
  }
  std::printf("%d defects\n", defects);
  return defects;
}

}  // namespace

int main(int count, char** arguments) {
  const int operations = count > 1 ? std::atoi(arguments[1]) : 4000;
  const double longWait = count > 2 ? std::atof(arguments[2]) : 3;
  vantorel::setLogSink(std::make_shared<Silence>());
  TestServer server({.keepsRequests = false});
  corvane::testkit::installStandardRoutes(server);
  server.handle("/stall", [](const auto&) { return MockResponse(200).stall(Moment::beforeStatusLine); });
  const SilentPort silent;
  std::string base = server.url("");
  while (base.ends_with('/')) base.pop_back();
  const StormTargets targets{base, silent.url("/")};

  std::vector<std::unique_ptr<StormThread>> storms;
  std::vector<std::thread> threads;
  for (std::uint64_t i = 0; i < threadCount; ++i) {
    StormThread& storm = *storms.emplace_back(std::make_unique<StormThread>(targets, i + 1));
    threads.emplace_back([&storm, operations] { storm.run(operations / threadCount); });
  }
  for (std::thread& thread : threads) thread.join();
  settle(base);
  return report(storms, longWait) == 0 ? 0 : 1;
}
