#include <fcntl.h>
#include <gmock/gmock.h>

#include "CorvaneTesting/Ports.hpp"
#include "SessionTest.hpp"
#include "TestSupport/NetworkTime.hpp"
#include "TestSupport/OpenDescriptors.hpp"

// The descriptors of connections, and their numbers.

namespace platform {
namespace {

using corvane::testing::DescriptorCopy;
using corvane::testing::descriptorsTo;
using corvane::testing::descriptorsWithoutPeer;
using corvane::testing::MockResponse;
using corvane::testing::Moment;
using corvane::testing::SilentPort;
using corvane::testing::staleWatches;

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
  corvane::testing::NetworkTime time;
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
