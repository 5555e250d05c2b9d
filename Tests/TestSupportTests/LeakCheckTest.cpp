#include "TestSupport/LeakCheck.hpp"

#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <latch>
#include <memory>
#include <string>
#include <thread>

#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane::testkit {
namespace {

using platform::DispatchQueue;
using platform::URLSession;

/// A check that waits only briefly for what is left.
class LeakCheckTest : public ::testing::Test {
 protected:
  LeakCheckTest() { check.begin(); }

  /// A task of a session that does not tell anybody how it ends.
  static std::shared_ptr<platform::URLSessionTask> makeTask() {
    const auto session = URLSession::make({}, nullptr, DispatchQueue("test.leak"));
    return session->dataTask({platform::URL(refusedUrl())}, [](auto, auto, auto) {});
  }

  LeakCheck check{std::chrono::milliseconds(20)};
};

TEST_F(LeakCheckTest, acceptsATestThatLeavesNothing) {
  const int descriptor = ::eventfd(0, EFD_CLOEXEC);
  std::jthread([] {}).join();
  ::close(descriptor);

  check.end();
}

TEST_F(LeakCheckTest, namesADescriptor) {
  const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);

  EXPECT_NONFATAL_FAILURE(check.end(), ": /dev/null");

  ::close(descriptor);
  check.end();
}

TEST_F(LeakCheckTest, findsADescriptorOfTheKindThatTheNetworkLoopKeeps) {
  const int descriptor = ::eventfd(0, EFD_CLOEXEC);

  EXPECT_NONFATAL_FAILURE(check.end(), "anon_inode:[eventfd]");

  ::close(descriptor);
  check.end();
}

TEST_F(LeakCheckTest, namesAThread) {
  std::latch end(1);
  std::jthread thread([&] { end.wait(); });
  ::pthread_setname_np(thread.native_handle(), "left-behind");

  EXPECT_NONFATAL_FAILURE(check.end(), "thread \"left-behind\"");

  end.count_down();
  thread.join();
  check.end();
}

TEST_F(LeakCheckTest, namesATemporaryFile) {
  const std::string path = platform::FileManager::temporaryDirectory() + "/left-behind";
  std::ofstream(path) << "x";

  EXPECT_NONFATAL_FAILURE(check.end(), "temporary file left-behind");

  ::unlink(path.c_str());
  check.end();
}

TEST_F(LeakCheckTest, countsTasks) {
  auto task = makeTask();

  EXPECT_NONFATAL_FAILURE(check.end(), "1 URL tasks");

  task = nullptr;
  check.end();
}

TEST_F(LeakCheckTest, namesTheEndsOfAConnection) {
  auto port = std::make_unique<SilentPort>();
  const std::string address = "127.0.0.1:" + std::to_string(port->port());

  EXPECT_NONFATAL_FAILURE(check.end(), "to " + address);

  port.reset();
  check.end();
}

TEST_F(LeakCheckTest, waitsForWhatEndsByItself) {
  LeakCheck patient(std::chrono::seconds(5));
  patient.begin();
  {
    TestServer server;
    server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("x"); });
    Expectation<bool> isDone;
    const auto session = URLSession::make({}, nullptr, DispatchQueue("test.leak"));
    session->dataTask({platform::URL(server.url())}, [=](auto, auto, auto) { isDone.fulfil(true); })->resume();
    isDone.wait();
  }

  patient.end();
}

}  // namespace
}  // namespace corvane::testkit
