#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "Corvane/Corvane.hpp"
#include "TestSupport/CertificateAuthority.hpp"
#include "TestSupport/Expectation.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "TestSupport/TestServer.hpp"

// What the library leaves alone in the process that it lives in.

namespace corvane {
namespace {

using corvane::testing::Answer;
using corvane::testing::CertificateAuthority;
using corvane::testing::Ending;
using corvane::testing::Expectation;
using corvane::testing::Moment;
using corvane::testing::TemporaryDirectory;
using corvane::testing::TestServer;
using corvane::testing::Tls;

const std::string largeBody(8 << 20, 'x');

struct Signals {
  std::array<struct sigaction, NSIG> dispositions{};
  sigset_t mask{};

  static Signals now() {
    Signals signals;
    for (int number = 1; number < NSIG; ++number) sigaction(number, nullptr, &signals.dispositions[number]);
    pthread_sigmask(SIG_SETMASK, nullptr, &signals.mask);
    return signals;
  }
};

void expectSame(const Signals& before, const Signals& after) {
  for (int number = 1; number < NSIG; ++number) {
    EXPECT_EQ(before.dispositions[number].sa_handler, after.dispositions[number].sa_handler) << strsignal(number);
    EXPECT_EQ(before.dispositions[number].sa_flags, after.dispositions[number].sa_flags) << strsignal(number);
    EXPECT_EQ(sigismember(&before.mask, number), sigismember(&after.mask, number)) << strsignal(number);
  }
}

/// A server that goes away while a body is sent to it, in each way.
class ProcessMannersTest : public ::testing::TestWithParam<bool> {
 protected:
  ProcessMannersTest() {
    if (GetParam())
      Corvane::addTrustedCertificate(URL::file(directory.write("root.der", authority.certificate().der())));
    server.handleAll(
        [](const auto&) { return Answer(200).beforeRequestBody().end(Ending::reset, Moment::beforeStatusLine); });
    signal(SIGPIPE, SIG_DFL);
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
  }
  ~ProcessMannersTest() override {
    Corvane::removeTrustedCertificates();
    Corvane::resetSessions();
  }

  std::unique_ptr<TestServer> makeServer() {
    if (!GetParam()) return std::make_unique<TestServer>();
    return std::make_unique<TestServer>(Tls(authority.issue(corvane::testing::CertificateRequest::localhost())));
  }
  DataPostRequest post() const { return DataPostRequest(URL(server.url("/")), Data(largeBody)); }

  TemporaryDirectory directory;
  const CertificateAuthority authority{"Process Manners"};
  std::unique_ptr<TestServer> owned = makeServer();
  TestServer& server = *owned;
};

TEST_P(ProcessMannersTest, aBrokenConnectionDoesNotKillAThreadThatWaits) {
  const Signals before = Signals::now();

  for (int i = 0; i < 5; ++i) EXPECT_ANY_THROW(post().send().get());

  expectSame(before, Signals::now());
}

TEST_P(ProcessMannersTest, aBrokenConnectionDoesNotKillAnyOtherThread) {
  const Signals before = Signals::now();
  const DispatchQueue queue("test.manners");
  Expectation<bool> failed;

  for (int i = 0; i < 5; ++i) {
    post().send(queue, [failed](const DataResponse& response) { failed.fulfil(response.result.error() != nullptr); });
  }

  for (const bool hasError : failed.waitForAll(5)) EXPECT_TRUE(hasError);
  expectSame(before, Signals::now());
}

INSTANTIATE_TEST_SUITE_P(, ProcessMannersTest, ::testing::Values(false, true),
                         [](const auto& used) { return used.param ? "TLS" : "plain"; });

/// Leaves the process while requests are under way, everywhere at once.
[[noreturn]] void exitInTheMiddle(Moment moment) {
  static TestServer& server = *new TestServer;
  server.handleAll([moment](const auto&) { return Answer(200).generatedBody(1 << 20).stall(moment); });
  static const DispatchQueue& queue = *new DispatchQueue("test.exit");
  for (int i = 0; i < 20; ++i) DataGetRequest(server.url("/")).send(queue, [](const DataResponse&) {});
  for (int i = 0; i < 5; ++i) DataGetRequest(server.url("/")).send([](const DataResponse&) {});
  std::thread([] { DataGetRequest(server.url("/")).send().get(); }).detach();
  if (!server.waitForRequests(26)) std::abort();
  std::exit(0);
}

/// Leaves the process while every completion sends the next request.
[[noreturn]] void exitInAStorm() {
  static TestServer& server = *new TestServer;
  server.handleAll([](const auto&) { return Answer(200).body("x"); });
  static const DispatchQueue& queue = *new DispatchQueue("test.exit");
  struct Storm {
    static void send() {
      DataGetRequest(server.url("/")).send(queue, [](const DataResponse&) { send(); });
    }
  };
  for (int i = 0; i < 8; ++i) Storm::send();
  if (!server.waitForRequests(500)) std::abort();
  std::exit(0);
}

class ProcessExitDeathTest : public ::testing::Test {
 protected:
  ProcessExitDeathTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(ProcessExitDeathTest, isCleanWhileAnswersAreAwaited) {
  EXPECT_EXIT(exitInTheMiddle(Moment::beforeStatusLine), ::testing::ExitedWithCode(0), "^$");
}

TEST_F(ProcessExitDeathTest, isCleanInsideBodies) {
  EXPECT_EXIT(exitInTheMiddle(Moment::insideBody), ::testing::ExitedWithCode(0), "^$");
}

TEST_F(ProcessExitDeathTest, isCleanWhileCompletionsSend) {
  EXPECT_EXIT(exitInAStorm(), ::testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace corvane
