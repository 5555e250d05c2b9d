#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "TestSupport/HeldLookUps.hpp"

// Leaving the process while requests are under way is clean: status 0, nothing on standard error, no hang. Each scene
// is set in a child process; what it needs is never destroyed, since `std::exit` does not unwind.

namespace corvane {
namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::Expectation;
using corvane::testkit::HeldLookUps;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::SilentPort;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;

template <class T, class... Arguments>
T& kept(Arguments&&... arguments) {
  static T& object = *new T(std::forward<Arguments>(arguments)...);
  return object;
}

/// Ends a scene that could not be set with a status that no test expects.
void require(bool holds) {
  if (!holds) std::_Exit(99);
}

const DispatchQueue& queue() { return kept<DispatchQueue>("test.exit"); }

/// Sends in every way: with a queue, to the main queue, and with threads that wait.
void sendInEveryWay(const std::string& url) {
  for (int i = 0; i < 10; ++i) DataGetRequest(url).send(queue(), [](const DataResponse&) {});
  for (int i = 0; i < 5; ++i) DataGetRequest(url).send([](const DataResponse&) {});
  for (int i = 0; i < 4; ++i) {
    std::thread([url] { DataGetRequest(url).send().wait(); }).detach();
  }
}
constexpr int everyWay = 19;

/// What was sent before has begun when this has its response.
void completeOneRequest() {
  static TestServer& server = *new TestServer;
  server.handleAll([](const auto&) { return MockResponse(200); });
  Expectation<int> received;
  DataGetRequest(server.url("/")).send(queue(), [received](const DataResponse&) { received.fulfil(1); });
  received.wait();
}

[[noreturn]] void exitInTheMiddle(Moment moment) {
  TestServer& server = kept<TestServer>();
  server.handleAll([moment](const auto&) { return MockResponse(200).generatedBody(1 << 20).stall(moment); });
  sendInEveryWay(server.url("/"));
  require(server.waitForRequests(everyWay));
  std::exit(0);
}

[[noreturn]] void exitWhileBodiesAreSent() {
  TestServer& server = kept<TestServer>();
  server.handleAll([](const auto&) { return MockResponse(200).stall(Moment::insideRequestBody, 1000); });
  const DataPostRequest post(URL(server.url("/")), Data(corvane::testkit::generatedBytes(8 << 20)));
  for (int i = 0; i < 5; ++i) post.send(queue(), [](const DataResponse&) {});
  std::thread([post] { post.send().wait(); }).detach();
  require(server.waitUntil([&] { return server.stalledConnections() == 6; }));
  std::exit(0);
}

[[noreturn]] void exitWhileNamesAreResolved() {
  HeldLookUps& lookUps = kept<HeldLookUps>();
  sendInEveryWay("http://" + std::string(HeldLookUps::name) + "/");
  require(lookUps.waitForWaiting(1));  // one for all that ask for the name
  std::exit(0);
}

[[noreturn]] void exitWhileConnecting() {
  sendInEveryWay(kept<SilentPort>().url("/"));
  completeOneRequest();
  std::exit(0);
}

[[noreturn]] void exitInsideHandshakes() {
  const CertificateAuthority authority("Exit");
  TestServer& server = kept<TestServer>(Tls(authority.issue(corvane::testkit::CertificateRequest::localhost())));
  for (int i = 0; i < everyWay; ++i) server.enqueue(MockResponse().stall(Moment::onAccept));
  sendInEveryWay(server.url("/"));
  require(server.waitForStall());
  std::exit(0);
}

[[noreturn]] void exitWithCompletionsOnTheMainQueue() {
  TestServer& server = kept<TestServer>();
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  for (int i = 0; i < 20; ++i) DataGetRequest(server.url("/")).send([](const DataResponse&) { std::_Exit(98); });
  require(server.waitForRequests(20));
  completeOneRequest();
  std::exit(0);
}

[[noreturn]] void exitInAStorm() {
  TestServer& server = kept<TestServer>();
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  struct Storm {
    static void send() {
      DataGetRequest(kept<TestServer>().url("/")).send(queue(), [](const DataResponse&) { send(); });
    }
  };
  for (int i = 0; i < 8; ++i) Storm::send();
  require(server.waitForRequests(500));
  std::exit(0);
}

/// A completion itself leaves, while others are awaited.
[[noreturn]] void exitFromACompletion() {
  TestServer& server = kept<TestServer>();
  server.handle("/stall", [](const auto&) { return MockResponse(200).stall(Moment::beforeStatusLine); });
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  sendInEveryWay(server.url("/stall"));
  DataGetRequest(server.url("/")).send(queue(), [](const DataResponse&) { std::exit(0); });
  Expectation<int>().wait(std::chrono::seconds(60));
  std::_Exit(97);
}

/// Leaves from a hook, which a thread that waits for the response runs.
struct Leaving : DataGetRequestable<Leaving> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  [[noreturn]] void process(const DataResponse&) const { std::exit(0); }
};

[[noreturn]] void exitFromAHook() {
  TestServer& server = kept<TestServer>();
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  Leaving{.url = server.url("/")}.send().wait();
  std::_Exit(97);
}

/// What the library leaves in the temporary directory is looked at after its own exit handlers.
[[noreturn]] void exitDuringADownload() {
  static const std::string& directory = kept<std::string>(platform::FileManager::createTemporaryDirectory());
  ::setenv("TMPDIR", directory.c_str(), 1);
  std::atexit([] {
    const bool isEmpty = std::filesystem::is_empty(directory);
    std::filesystem::remove_all(directory);
    if (!isEmpty) std::_Exit(96);
  });
  TestServer& server = kept<TestServer>();
  server.handleAll(
      [](const auto&) { return MockResponse(200).generatedBody(1 << 20).stall(Moment::insideBody, 1000); });
  const Expectation<void> begun;
  DownloadGetRequest<>(server.url("/")).send(queue(), [=](const auto&) { begun(); }, [](const auto&) {});
  begun.wait();
  std::exit(0);
}

class ProcessExitDeathTest : public ::testing::Test {
 protected:
  template <class Scene>
  static void expectClean(Scene scene) {
    EXPECT_EXIT(scene(), ::testing::ExitedWithCode(0), "^$");
  }
};

TEST_F(ProcessExitDeathTest, isCleanWhileNamesAreResolved) { expectClean(exitWhileNamesAreResolved); }

TEST_F(ProcessExitDeathTest, isCleanWhileConnecting) { expectClean(exitWhileConnecting); }

TEST_F(ProcessExitDeathTest, isCleanInsideHandshakes) { expectClean(exitInsideHandshakes); }

TEST_F(ProcessExitDeathTest, isCleanWhileBodiesAreSent) { expectClean(exitWhileBodiesAreSent); }

TEST_F(ProcessExitDeathTest, isCleanWhileResponsesAreAwaited) {
  expectClean([] { exitInTheMiddle(Moment::beforeStatusLine); });
}

TEST_F(ProcessExitDeathTest, isCleanInsideHeads) {
  expectClean([] { exitInTheMiddle(Moment::insideHead); });
}

TEST_F(ProcessExitDeathTest, isCleanInsideBodies) {
  expectClean([] { exitInTheMiddle(Moment::insideBody); });
}

TEST_F(ProcessExitDeathTest, isCleanWithCompletionsThatNobodyRuns) { expectClean(exitWithCompletionsOnTheMainQueue); }

TEST_F(ProcessExitDeathTest, isCleanWhileCompletionsSend) { expectClean(exitInAStorm); }

TEST_F(ProcessExitDeathTest, leavesNoFilesOfDownloads) { expectClean(exitDuringADownload); }

TEST_F(ProcessExitDeathTest, isCleanFromACompletion) { expectClean(exitFromACompletion); }

TEST_F(ProcessExitDeathTest, isCleanFromAHookOfALeadingThread) { expectClean(exitFromAHook); }

}  // namespace
}  // namespace corvane
