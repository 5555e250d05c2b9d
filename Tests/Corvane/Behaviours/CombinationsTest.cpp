#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "../Transfers/TransferFixture.hpp"
#include "Combinations.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane::combinations {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using detail::SendRoute;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<Combination> all() {
  std::vector<Combination> found;
  for (auto* some : {&combinationsOfData, &combinationsOfDownloads, &combinationsOfUploads}) {
    for (const Combination& one : some()) found.push_back(one);
  }
  return found;
}

std::string nameOf(const Combination& combination) {
  constexpr const char* kinds[] = {"data", "download", "upload"};
  constexpr const char* mocks[] = {"", "_mock", "_test"};
  std::string name = kinds[static_cast<int>(combination.kind)];
  name += mocks[static_cast<int>(combination.mocking)];
  if (combination.retries) name += "_retry";
  if (combination.polls) name += "_polling";
  return name;
}

/// By a clock that stands still, with a server that answers "server".
class CombinationsTest : public ::testing::TestWithParam<Combination> {
 protected:
  CombinationsTest() {
    World::reset(server.url("/"));
    server.handleAll([this](const auto&) {
      MockResponse response(World::nextFails() ? 500 : 200);
      response.text("server");
      if (latch) response.hold(Moment::beforeStatusLine, *latch);
      return response;
    });
  }
  ~CombinationsTest() override {
    if (it.polls && it.isPolling()) it.stopPolling();
    Corvane::resetSessions();
    DispatchQueue::main().runOnce();
  }

  /// Drains the main queue until a wait before another attempt begins.
  bool comesToWait() const {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < limit) {
      const auto waits = clock.waits();
      if (std::find(waits.begin(), waits.end(), platform::Seconds(2)) != waits.end()) return true;
      DispatchQueue::main().runUntil([] { return false; }, 0.002);
    }
    return false;
  }
  /// Lets time pass, and drains the main queue, until so many notes are there.
  std::vector<std::string> wait(const Notes& expected, int count = 1) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const auto areThere = [&] { return expected.count() >= count; };
    while (!areThere() && std::chrono::steady_clock::now() < limit) {
      DispatchQueue::main().runUntil(areThere, 0.002);
      if (!areThere()) clock.advance(1);
    }
    queue.sync([] {});
    return expected.waitForAll(static_cast<std::size_t>(count));
  }
  std::string who() const {
    return it.mocking == Mocking::test ? "test" : it.mocking == Mocking::mock ? "mock" : "server";
  }
  /// That it gave so many responses, and nobody else any.
  void expectResponses(int count) const {
    EXPECT_EQ(server.requestCount(), it.mocking == Mocking::none ? count : 0);
    EXPECT_EQ(World::mockResponses, it.mocking == Mocking::mock ? count : 0);
    EXPECT_EQ(World::testResponses, it.mocking == Mocking::test ? count : 0);
    EXPECT_THAT(temporary.names(), IsEmpty());
  }
  void pollIfItCan() const {
    if (it.polls) it.poll(heard);
  }
  void expectHeard(const std::vector<std::string>& expected) {
    if (it.polls) {
      EXPECT_EQ(wait(heard, static_cast<int>(expected.size())), expected);
    }
  }

  const Combination it = GetParam();
  std::optional<Latch> latch;
  OwnTemporaryDirectory temporary;
  testkit::TestServer server;
  platform::detail::ManualClock clock;
  const DispatchQueue queue{"CombinationsTest"};
  /// What completions and handlers note.
  const Notes notes;
  const Notes heard;
};

TEST_P(CombinationsTest, sendsOnce) {
  pollIfItCan();

  it.send(queue, notes);

  EXPECT_THAT(wait(notes), ElementsAre(who()));
  expectHeard({who()});
  expectResponses(1);
}

TEST_P(CombinationsTest, doesNotRetryWhatIsSentOnce) {
  World::failures = 1;
  pollIfItCan();

  it.send(queue, notes);

  EXPECT_THAT(wait(notes), ElementsAre("failed"));
  expectHeard({"failed"});
  expectResponses(1);
}

TEST_P(CombinationsTest, isCancelledWhileItIsSent) {
  latch.emplace();
  pollIfItCan();

  const auto cancel = it.send(queue, notes);
  if (it.mocking == Mocking::none) {
    EXPECT_TRUE(server.waitForStall());
  }
  cancel();

  EXPECT_EQ(notes.wait(), "cancelled");
  expectHeard({"cancelled"});
  latch->open();
}

TEST_P(CombinationsTest, retries) {
  if (!it.retries) return;
  World::failures = 1;
  pollIfItCan();

  it.sendAttemptingRetry(queue, notes);

  // Of a poll only the attempt that counts is told of: the success.
  EXPECT_THAT(wait(notes), ElementsAre(it.polls ? "no failure: " + who() : "failures: failed " + who()));
  expectHeard({who()});
  expectResponses(2);
  EXPECT_THAT(clock.waits(), Contains(platform::Seconds(2)));
}

TEST_P(CombinationsTest, retriesUntilAllHasFailed) {
  if (!it.retries) return;
  World::failures = 1000;
  pollIfItCan();

  it.sendAttemptingRetry(queue, notes);

  // Limit plus two, and for each of them, when it is a poll, limit plus two.
  EXPECT_THAT(wait(notes), ElementsAre("failures: failed failed failed"));
  expectHeard({"failed", "failed", "failed"});
  expectResponses(it.polls ? 9 : 3);
}

TEST_P(CombinationsTest, startsPollingToRetry) {
  if (!it.retries || !it.polls) return;

  it.sendAttemptingRetry(queue, notes);

  EXPECT_TRUE(it.isPolling());
  EXPECT_THAT(wait(notes), ElementsAre("no failure: " + who()));
}

TEST_P(CombinationsTest, isCancelledWhileItRetries) {
  if (!it.retries) return;
  World::policy.isCancelable = true;
  latch.emplace();
  pollIfItCan();

  const auto cancel = it.sendAttemptingRetry(queue, notes);
  if (it.mocking == Mocking::none) {
    EXPECT_TRUE(server.waitForStall());
  }
  cancel();

  EXPECT_EQ(notes.wait(), "failures: cancelled");
  expectHeard({"cancelled"});
  latch->open();
}

TEST_P(CombinationsTest, isCancelledWhileItWaitsToRetry) {
  if (!it.retries) return;
  World::policy.isCancelable = true;
  World::failures = 1;
  pollIfItCan();

  const auto cancel = it.sendAttemptingRetry(queue, notes);
  if (it.mocking != Mocking::none) clock.advance(1);
  EXPECT_TRUE(comesToWait());
  cancel();

  EXPECT_EQ(notes.wait(), it.polls ? "failures: cancelled" : "failures: failed cancelled");
  expectHeard({"cancelled"});
  expectResponses(1);
}

TEST_P(CombinationsTest, ticks) {
  if (!it.polls) return;
  World::failures = it.retries ? 1 : 0;
  it.poll(heard);

  clock.advance(1e6);

  EXPECT_THAT(wait(heard), ElementsAre(who()));
  expectResponses(it.retries ? 2 : 1);
}

INSTANTIATE_TEST_SUITE_P(Each, CombinationsTest, ::testing::ValuesIn(all()),
                         [](const auto& one) { return nameOf(one.param); });

// The table of the documentation.

std::string responseOf(SendRoute route, Kind kind) {
  if (route == SendRoute::testResponse) return "test's response";
  if (route == SendRoute::mockResponse) return "mock";
  return kind == Kind::data ? "network" : "network, with progress";
}

std::string sendOf(const Combination& one) {
  const std::string response = responseOf(one.singleRoute, one.kind);
  return one.route == SendRoute::polling ? response + "; polling handlers are called" : response;
}

std::string retryOf(const Combination& one) {
  if (!one.retries) return "";
  const std::string response = responseOf(one.singleRoute, Kind::data);
  return one.polls ? "starts polling; each attempt makes all attempts of a tick, and polling handlers are called"
                   : "attempts: " + response;
}

std::string tickOf(const Combination& one) {
  if (!one.polls) return "";
  const std::string response = responseOf(one.singleRoute, Kind::data);
  return one.retries ? "attempts: " + response : response;
}

std::string adopted(const Combination& one) {
  std::string text;
  const auto add = [&](const char* mixin) { text += (text.empty() ? "`" : ", `") + std::string(mixin) + "`"; };
  if (one.mocking == Mocking::mock) add("HTTPMockable");
  if (one.mocking == Mocking::test) add("HTTPTestMockable");
  if (one.retries) add("HTTPRetryAttempting");
  if (one.polls) add("HTTPPolling");
  return text.empty() ? "nothing" : text;
}

/// As it has to stand in the documentation.
std::string tableOf(const std::vector<Combination>& combinations) {
  std::ostringstream table;
  table << "| adopts | `send` | `sendAttemptingRetry` | a tick |\n|---|---|---|---|\n";
  for (const Combination& one : combinations) {
    table << "| " << adopted(one) << " | " << sendOf(one) << " | " << retryOf(one) << " | " << tickOf(one) << " |\n";
  }
  return table.str();
}

/// A file of the checkout that this test was built in.
std::string documentation(const std::filesystem::path& relative) {
  for (auto start : {std::filesystem::canonical("/proc/self/exe"), std::filesystem::absolute(__FILE__)}) {
    for (; start.has_relative_path(); start = start.parent_path()) {
      std::ifstream file(start.parent_path() / relative);
      if (!file) continue;
      std::ostringstream text;
      text << file.rdbuf();
      return text.str();
    }
  }
  ADD_FAILURE() << "there is no " << relative;
  return {};
}

TEST(CombinationsTableTest, standsInTheDocumentation) {
  const std::string text = documentation("Docs/Combinations.md");

  EXPECT_THAT(text, ::testing::HasSubstr("\n\n" + tableOf(combinationsOfData()) + "\n"));
  EXPECT_THAT(text, ::testing::HasSubstr("\n\n" + tableOf(combinationsOfDownloads()) + "\n"));
  EXPECT_THAT(text, ::testing::HasSubstr("\n\n" + tableOf(combinationsOfUploads()) + "\n"));
}

}  // namespace

// In place of its bytes, which differ from run to run.
void PrintTo(const Combination& combination, std::ostream* stream) { *stream << nameOf(combination); }

}  // namespace corvane::combinations
