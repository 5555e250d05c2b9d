#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "TestSupport/Sanitizers.hpp"

// Ten thousand requests to one host at once, in a process that may open 256 descriptors. It runs alone, so that its
// memory can be told; the server is in the test's process, which has descriptors of its own.

namespace corvane {
namespace {

using corvane::testkit::isSanitized;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ServerOptions;
using corvane::testkit::TestServer;

constexpr std::size_t crowd = 10'000;
constexpr double allowedBytes = 4096;
constexpr const char* serverVariable = "CORVANE_TEST_CROWD_SERVER";

struct CrowdGet : DataGetRequestable<CrowdGet> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Has a session of its own, so it waits for no other request.
struct ControlGet : DataGetRequestable<ControlGet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "control";
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Ends a scene that went wrong.
void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "not so: %s\n", what);
  std::_Exit(1);
}

void allowDescriptors(rlim_t count) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = count;
  require(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "the number of descriptors can be limited");
}

double residentBytes() {
  std::ifstream statistics("/proc/self/statm");
  double all = 0;
  double resident = 0;
  statistics >> all >> resident;
  return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

void ask(const std::string& url) {
  const DispatchQueue queue("BatchCrowdTest.control");
  const auto response = testkit::await<DataResponse>([&](auto done) { ControlGet{.url = url}.send(queue, done); },
                                                     std::chrono::seconds(60));
  require(response.result.isSuccess(), "the server can be asked");
}

[[noreturn]] void sendTheCrowd(const std::string& server) {
  allowDescriptors(256);
  const DispatchQueue queue("BatchCrowdTest");
  const std::vector<CrowdGet> requests(crowd, CrowdGet{.url = server + "/crowd"});
  ask(server + "/ready");
  const double before = residentBytes();
  testkit::Expectation<std::vector<DataResponse>> completion;

  send(requests, queue, true, {}, completion);
  // What was sent before this has begun to wait when it is answered.
  ask(server + "/ready");
  const double growth = (residentBytes() - before) / static_cast<double>(crowd);
  require(!completion.isFulfilled(), "all are waiting");
  ask(server + "/open");
  const auto responses = completion.wait(std::chrono::seconds(100));

  require(responses.size() == crowd, "all are answered");
  for (const auto& response : responses) require(response.result.isSuccess(), "all succeed");
  std::fprintf(stderr, "%.0f bytes for each waiting request%s\n", growth,
               isSanitized ? " (not judged: a sanitizer takes memory, too)" : "");
  require(isSanitized || growth < allowedBytes, "a waiting request takes less than 4 KiB");
  std::_Exit(0);
}

TEST(BatchCrowdDeathTest, succeedsAsAWholeUnderAFewDescriptorsAndTakesLittleMemory) {
  // The child comes here too, on its way to the scene. It has no use for a server of its own.
  const char* parentsServer = std::getenv(serverVariable);
  const auto server = parentsServer ? nullptr : std::make_unique<TestServer>(ServerOptions{.keepsRequests = false});
  if (server) {
    const Latch latch;
    server->handle("/crowd",
                   [=](const auto&) { return MockResponse(200).text("here").hold(Moment::beforeStatusLine, latch); });
    server->handle("/ready", [](const auto&) { return MockResponse(200); });
    server->handle("/open", [=](const auto&) {
      latch.open();
      return MockResponse(200);
    });
    ::setenv(serverVariable, ("http://" + server->authority()).c_str(), 1);
  }

  EXPECT_EXIT(sendTheCrowd(std::getenv(serverVariable)), ::testing::ExitedWithCode(0),
              "bytes for each waiting request");

  ::unsetenv(serverVariable);
}

}  // namespace
}  // namespace corvane
