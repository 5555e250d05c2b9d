#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

// What the library leaves alone in the process that it lives in.

namespace corvane {
namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::Ending;
using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::TemporaryDirectory;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;

const std::string largeBody(8 << 20, 'x');

struct Signals {
  const struct sigaction& disposition(int number) const { return dispositions[static_cast<std::size_t>(number)]; }

  std::array<struct sigaction, NSIG> dispositions{};
  sigset_t mask{};

  static Signals now() {
    Signals signals;
    int number = 0;
    for (struct sigaction& disposition : signals.dispositions) sigaction(number++, nullptr, &disposition);
    pthread_sigmask(SIG_SETMASK, nullptr, &signals.mask);
    return signals;
  }
};

void expectSame(const Signals& before, const Signals& after) {
  for (int number = 1; number < NSIG; ++number) {
    const struct sigaction& was = before.disposition(number);
    const struct sigaction& is = after.disposition(number);
    EXPECT_EQ(was.sa_handler, is.sa_handler) << strsignal(number);
    EXPECT_EQ(was.sa_flags, is.sa_flags) << strsignal(number);
    EXPECT_EQ(sigismember(&before.mask, number), sigismember(&after.mask, number)) << strsignal(number);
    for (int other = 1; other < NSIG; ++other)
      EXPECT_EQ(sigismember(&was.sa_mask, other), sigismember(&is.sa_mask, other)) << strsignal(number);
  }
}

/// A server that goes away while a body is sent to it, in each way.
class ProcessMannersTest : public ::testing::TestWithParam<std::tuple<bool, Ending>> {
 protected:
  ProcessMannersTest() {
    if (isSecure) Corvane::addTrustedCertificate(URL::file(directory.write("root.der", authority.certificate().der())));
    server.handleAll([ending = std::get<1>(GetParam())](const auto&) {
      return MockResponse(200).beforeRequestBody().end(ending, Moment::beforeStatusLine);
    });
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
    if (!isSecure) return std::make_unique<TestServer>();
    return std::make_unique<TestServer>(Tls(authority.issue(corvane::testkit::CertificateRequest::localhost())));
  }
  DataPostRequest post() const { return DataPostRequest(URL(server.url("/")), Data(largeBody)); }

  const bool isSecure = std::get<0>(GetParam());
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

TEST_P(ProcessMannersTest, theThreadsOfTheApplicationKeepTheirSignals) {
  std::vector<Signals> before(8);
  std::vector<Signals> after(8);

  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < before.size(); ++i) {
    threads.emplace_back([&, i] {
      sigset_t own;
      sigemptyset(&own);
      sigaddset(&own, SIGRTMIN + static_cast<int>(i));
      pthread_sigmask(SIG_BLOCK, &own, nullptr);
      before[i] = Signals::now();
      EXPECT_ANY_THROW(post().send().get());
      after[i] = Signals::now();
    });
  }
  for (auto& thread : threads) thread.join();

  for (std::size_t i = 0; i < before.size(); ++i) expectSame(before[i], after[i]);
}

/// Of a thread of this process, as the kernel says in /proc (proc(5)); bit n - 1 of the mask is signal n.
struct ThreadStatus {
  std::string name;
  std::uint64_t blockedSignals = 0;

  bool blocks(int signal) const { return (blockedSignals >> (signal - 1) & 1) != 0; }

  static std::vector<ThreadStatus> ofAll() {
    std::vector<ThreadStatus> found;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
      std::ifstream lines(task.path() / "status");
      ThreadStatus status;
      for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("Name:\t")) status.name = line.substr(6);
        if (line.starts_with("SigBlk:\t")) status.blockedSignals = std::stoull(line.substr(8), nullptr, 16);
      }
      found.push_back(std::move(status));
    }
    return found;
  }
};

TEST_P(ProcessMannersTest, theNetworkThreadLeavesSignalsToTheApplicationButNotItsOwnFaults) {
  EXPECT_ANY_THROW(post().send().get());

  const auto threads = ThreadStatus::ofAll();
  const auto network = std::ranges::find(threads, "corvane.network", &ThreadStatus::name);
  ASSERT_NE(network, threads.end());
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGALRM, SIGCHLD, SIGUSR1, SIGPROF, SIGXFSZ})
    EXPECT_TRUE(network->blocks(signal)) << strsignal(signal);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
    EXPECT_FALSE(network->blocks(fault)) << strsignal(fault);
}

std::string nameOf(const ::testing::TestParamInfo<std::tuple<bool, Ending>>& used) {
  const auto [isSecure, ending] = used.param;
  return std::string(isSecure ? "TLS" : "Plain") + (ending == Ending::reset ? "Reset" : "Dropped");
}

INSTANTIATE_TEST_SUITE_P(, ProcessMannersTest,
                         ::testing::Combine(::testing::Bool(), ::testing::Values(Ending::reset, Ending::drop)), nameOf);

/// Ends this process: with 0 when a download that is too large for a file fails, and does no more.
[[noreturn]] void downloadBeyondTheSizeOfFiles() {
  TestServer server;
  server.handleAll([](const auto&) { return MockResponse(200).generatedBody(1 << 20); });
  const rlimit limited{1 << 16, RLIM_INFINITY};
  signal(SIGXFSZ, SIG_DFL);
  if (::setrlimit(RLIMIT_FSIZE, &limited) != 0) std::_Exit(1);
  // A thread that waits writes the file itself, unless another was faster.
  for (int i = 0; i < 5; ++i) {
    try {
      DownloadGetRequest(server.url("/")).send().get();
      std::_Exit(2);
    } catch (const platform::Error& error) {
      if (error.code() != platform::URLErrorCode::cannotWriteToFile) std::_Exit(3);
    }
  }
  std::_Exit(0);
}

TEST(FileSizeDeathTest, aFileThatMayNotGrowIsAnErrorToAThreadThatWaits) {
  EXPECT_EXIT(downloadBeyondTheSizeOfFiles(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace corvane
