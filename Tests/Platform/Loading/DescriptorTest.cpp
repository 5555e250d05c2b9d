#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "CorvaneTesting/Ports.hpp"
#include "SessionTest.hpp"
#include "TestSupport/NetworkTime.hpp"
#include "TestSupport/OpenDescriptors.hpp"
#include "TestSupport/Sanitizers.hpp"

// The descriptors of connections, and their numbers.

namespace platform {
namespace {

using corvane::testkit::DescriptorCopy;
using corvane::testkit::descriptorsTo;
using corvane::testkit::descriptorsWithoutPeer;
using corvane::testkit::isSanitized;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::SilentPort;
using corvane::testkit::staleWatches;

/// While it lives, the process has no descriptor left.
class NoDescriptors {
 public:
  NoDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &limit_);
    const int highest = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    taken_.push_back(highest);
    rlimit less = limit_;
    less.rlim_cur = static_cast<rlim_t>(highest) + 1;
    ::setrlimit(RLIMIT_NOFILE, &less);
    for (int next = 0; (next = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) taken_.push_back(next);
  }
  ~NoDescriptors() {
    for (const int descriptor : taken_) ::close(descriptor);
    ::setrlimit(RLIMIT_NOFILE, &limit_);
  }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit limit_{};
  std::vector<int> taken_;
};

class DescriptorTest : public SessionTest {
 protected:
  /// A request whose connection is closed after it.
  URLRequest toBeClosed() {
    server.handle("/closed", [](const auto&) { return MockResponse(200).body("fine").closeConnection(); });
    return URLRequest(URL(server.url("/closed")));
  }
  std::vector<std::unique_ptr<Load>> loads(const URLRequest& request, int count) {
    std::vector<std::unique_ptr<Load>> all;
    for (int i = 0; i < count; ++i) all.push_back(std::make_unique<Load>(session, request));
    for (auto& each : all) each->resume();
    return all;
  }
};

TEST_F(DescriptorTest, numbersServeOtherConnectionsAfterTimeOutsWhileConnecting) {
  corvane::testkit::NetworkTime time;
  const SilentPort silent;
  auto connecting = loads(URLRequest(URL(silent.url())), 4);
  time.pass(std::chrono::seconds(60));
  for (auto& each : connecting) EXPECT_EQ(each->wait().code(), URLErrorCode::timedOut);

  for (auto& each : loads(toBeClosed(), 8)) EXPECT_EQ(each->wait().body(), "fine");
}

TEST_F(DescriptorTest, numbersServeOtherConnectionsAfterCancellationsWhileConnecting) {
  const SilentPort silent;
  auto connecting = loads(URLRequest(URL(silent.url())), 4);
  // What is sent later and has its response found the others connecting.
  EXPECT_EQ(loads(toBeClosed(), 1).front()->wait().body(), "fine");
  for (auto& each : connecting) each->cancel();
  for (auto& each : connecting) EXPECT_EQ(each->wait().code(), URLErrorCode::cancelled);

  for (auto& each : loads(toBeClosed(), 8)) EXPECT_EQ(each->wait().body(), "fine");
}

TEST_F(DescriptorTest, runningOutOfThemIsAnErrorThatSaysSo) {
  if (isSanitized) GTEST_SKIP() << "sanitizers need descriptors of their own";
  Load loading(session, URLRequest(URL(server.url("/"))));
  Loaded loaded;
  {
    const NoDescriptors none;
    loading.resume();
    loaded = loading.wait();
  }

  ASSERT_TRUE(loaded.error);
  EXPECT_EQ(loaded.error->domain(), NSPOSIXErrorDomain);
  EXPECT_EQ(loaded.code(), EMFILE);
  EXPECT_THAT(loaded.message(), ::testing::HasSubstr("Too many open files"));
}

TEST_F(DescriptorTest, anIdleConnectionGivesItsOwnWhenNoOtherIsLeft) {
  if (isSanitized) GTEST_SKIP() << "sanitizers need descriptors of their own";
  corvane::testkit::TestServer other;
  server.enqueue(MockResponse(200).body("first"));
  other.enqueue(MockResponse(200).body("second"));
  ASSERT_EQ(load("/").body(), "first");
  Load loading(session, URLRequest(URL(other.url("/"))));
  Loaded loaded;
  {
    const NoDescriptors none;
    loading.resume();
    loaded = loading.wait();
  }

  EXPECT_EQ(loaded.body(), "second") << loaded.message();
}

TEST_F(DescriptorTest, connectionsAreClosedInProgramsThatAreStarted) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  const std::vector<int> connections = descriptorsTo(server.port());

  ASSERT_EQ(connections.size(), 1U);
  EXPECT_TRUE(::fcntl(connections.front(), F_GETFD) & FD_CLOEXEC);
  loading.cancel();
  loading.wait();
}

TEST_F(DescriptorTest, aCancelledConnectionIsNotWatchedOnThoughACopyOfItIsOpen) {
  server.enqueue(MockResponse(200).generatedBody(1 << 20).stall(Moment::insideBody));
  Load loading(session, URLRequest(URL(server.url("/"))));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());
  ASSERT_EQ(descriptorsTo(server.port()).size(), 1U);
  const DescriptorCopy copy(descriptorsTo(server.port()).front());

  loading.cancel();
  loading.wait();

  EXPECT_THAT(staleWatches(), ::testing::IsEmpty());
}

TEST_F(DescriptorTest, aConnectionThatTimedOutWhileConnectingIsNotWatchedOnThoughACopyOfItIsOpen) {
  const SilentPort silent;
  server.enqueue(MockResponse(200).body("other"));
  Load connecting(session, URLRequest(URL(silent.url())));
  connecting.resume();
  ASSERT_EQ(load("/").status(), 200);
  std::vector<std::unique_ptr<DescriptorCopy>> copies;
  for (const int number : descriptorsWithoutPeer()) copies.push_back(std::make_unique<DescriptorCopy>(number));

  connecting.cancel();
  connecting.wait();

  EXPECT_THAT(staleWatches(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace platform
