#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/TestServer.hpp"

// The threads that run completions drive the network as well; nothing may depend on who comes first.

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;
using corvane::testkit::TestServer;

/// A flag to wait for in ways that the library does not know of.
class Flag {
 public:
  void set() {
    const std::lock_guard lock(mutex_);
    isSet_ = true;
    changed_.notify_all();
  }
  bool wait() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return isSet_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isSet_ = false;
};

/// Its hook gives work to a queue and waits for it.
struct RequestThatWaits : DataGetRequestable<RequestThatWaits> {
  URL target;
  DispatchQueue helper;

  RequestThatWaits(URL url, DispatchQueue queue) : target(std::move(url)), helper(std::move(queue)) {}
  URL url() const { return target; }
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const DataResponse&) const {
    Flag flag;
    helper.async([&] { flag.set(); });
    if (!flag.wait()) throw std::runtime_error("the other block did not run");
  }
};

class SharedWorkersTest : public ::testing::Test {
 protected:
  SharedWorkersTest() {
    server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  }

  /// Until a worker, not the network's own thread, drives.
  void sendSomeOneAfterTheOther() {
    Expectation<bool> finished;
    sendNext(finished, 30);
    finished.wait();
  }
  void sendNext(const Expectation<bool>& finished, int left) {
    if (left == 0) return finished.fulfil(true);
    DataGetRequest(URL(server.url("/"))).send(queue, [=, this](const DataResponse&) { sendNext(finished, left - 1); });
  }

  TestServer server;
  const DispatchQueue queue{"test.first"};
  const DispatchQueue other{"test.second"};
};

TEST_F(SharedWorkersTest, aHookMayWaitForABlockOfAnotherQueue) {
  for (int round = 0; round < 20; ++round) {
    sendSomeOneAfterTheOther();
    Expectation<bool> hookPassed;

    queue.async([&] {
      RequestThatWaits(URL(server.url("/")), other).send(queue, [hookPassed](const DataResponse& response) {
        hookPassed.fulfil(response.result.error() == nullptr);
      });
    });

    ASSERT_TRUE(hookPassed.wait()) << "in round " << round;
  }
}

TEST_F(SharedWorkersTest, aCompletionMayWaitForAnother) {
  for (int round = 0; round < 20; ++round) {
    sendSomeOneAfterTheOther();
    Flag flag;
    Expectation<bool> waited;

    queue.async([&] {
      DataGetRequest(URL(server.url("/"))).send(queue, [&](const DataResponse&) { waited.fulfil(flag.wait()); });
      DataGetRequest(URL(server.url("/"))).send(other, [&](const DataResponse&) { flag.set(); });
    });

    ASSERT_TRUE(waited.wait()) << "in round " << round;
  }
}

TEST_F(SharedWorkersTest, aBlockMayWaitForItsOwnRequest) {
  for (int round = 0; round < 20; ++round) {
    sendSomeOneAfterTheOther();
    Expectation<bool> waited;

    queue.async([&] {
      Flag flag;
      DataGetRequest(URL(server.url("/"))).send(other, [&](const DataResponse&) { flag.set(); });
      waited.fulfil(flag.wait());
    });

    ASSERT_TRUE(waited.wait()) << "in round " << round;
  }
}

}  // namespace
}  // namespace corvane
