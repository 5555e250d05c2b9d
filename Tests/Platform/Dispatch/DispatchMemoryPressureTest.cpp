#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <thread>

#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Dispatch/Internal/PressureStall.hpp"

namespace platform {
namespace {

using testing::ElementsAre;

constexpr Seconds longEnough = 20;

class MemoryPressureTest : public testing::Test {
 protected:
  const DispatchQueue queue{"memory"};
  std::vector<MemoryPressure> seen;

  DispatchMemoryPressureSource makeSource(std::initializer_list<MemoryPressure> events) {
    const DispatchMemoryPressureSource source(queue, events);
    source.setEventHandler([this](MemoryPressure pressure) {
      EXPECT_TRUE(queue.isCurrent());
      seen.push_back(pressure);
    });
    return source;
  }
  void notifyAll() {
    for (const auto pressure : {MemoryPressure::warning, MemoryPressure::critical, MemoryPressure::normal}) {
      DispatchMemoryPressureSource::notify(pressure);
    }
    queue.sync([] {});
  }
};

TEST_F(MemoryPressureTest, tellsAnActiveSourceOfTheEventsItAskedFor) {
  const auto source = makeSource({MemoryPressure::warning, MemoryPressure::critical});

  source.activate();
  notifyAll();

  EXPECT_THAT(seen, ElementsAre(MemoryPressure::warning, MemoryPressure::critical));
}

TEST_F(MemoryPressureTest, tellsNothingBeforeActivation) {
  const auto source = makeSource({MemoryPressure::warning});

  notifyAll();

  EXPECT_TRUE(seen.empty());
}

TEST_F(MemoryPressureTest, tellsNothingAfterCancellationEvenWhenItWasOnItsWay) {
  const auto source = makeSource({MemoryPressure::critical});
  source.activate();

  queue.sync([&] {
    DispatchMemoryPressureSource::notify(MemoryPressure::critical);
    source.cancel();
  });
  notifyAll();

  EXPECT_TRUE(seen.empty());
}

TEST_F(MemoryPressureTest, endsWithItsLastHandle) {
  makeSource({MemoryPressure::normal}).activate();

  notifyAll();

  EXPECT_TRUE(seen.empty());
}

TEST_F(MemoryPressureTest, tellsEverySource) {
  const auto first = makeSource({MemoryPressure::normal});
  const auto second = makeSource({MemoryPressure::normal});

  first.activate();
  first.activate();
  second.activate();
  notifyAll();

  EXPECT_THAT(seen, ElementsAre(MemoryPressure::normal, MemoryPressure::normal));
}

/// A loopback connection: urgent data makes the receiving end exceptional, as the kernel does with a trigger.
class UrgentPair {
 public:
  UrgentPair() {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::listen(listener, 1), 0);
    EXPECT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
    sender_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::connect(sender_, reinterpret_cast<sockaddr*>(&address), size), 0);
    receiver_ = ::accept(listener, nullptr, nullptr);
    ::close(listener);
  }
  ~UrgentPair() { ::close(sender_); }
  UrgentPair(const UrgentPair&) = delete;
  UrgentPair& operator=(const UrgentPair&) = delete;

  int receiver() const { return receiver_; }
  void raise() const { EXPECT_EQ(::send(sender_, "!", 1, MSG_OOB), 1); }
  void clear() const {
    char byte = 0;
    EXPECT_EQ(::recv(receiver_, &byte, 1, MSG_OOB), 1);
  }
  void end() const {
    // Both directions: only then the receiving end reports that nothing can come any more.
    ::shutdown(receiver_, SHUT_RDWR);
    ::shutdown(sender_, SHUT_RDWR);
  }

 private:
  int sender_ = -1;
  int receiver_ = -1;
};

TEST(PressureStallTest, reportsTheTriggersAndThatItIsOver) {
  const UrgentPair warning;
  const UrgentPair critical;
  std::vector<MemoryPressure> reports;
  const DispatchSemaphore reported(0);
  const auto report = [&](MemoryPressure pressure) {
    if (pressure == MemoryPressure::warning) warning.clear();
    if (pressure == MemoryPressure::critical) critical.clear();
    reports.push_back(pressure);
    reported.signal();
  };
  std::jthread watcher(
      [&] { detail::watchPressure({warning.receiver(), critical.receiver()}, std::chrono::milliseconds(10), report); });

  warning.raise();
  for (int count = 0; count < 2; ++count) ASSERT_TRUE(reported.wait(longEnough));
  critical.raise();
  for (int count = 0; count < 2; ++count) ASSERT_TRUE(reported.wait(longEnough));
  warning.end();
  critical.end();
  watcher.join();

  EXPECT_THAT(reports, ElementsAre(MemoryPressure::warning, MemoryPressure::normal, MemoryPressure::critical,
                                   MemoryPressure::normal));
}

TEST(PressureStallTest, hasNothingToWatchWithoutTriggers) {
  int reports = 0;

  detail::watchPressure({}, std::chrono::milliseconds(10), [&](MemoryPressure) { ++reports; });

  EXPECT_EQ(reports, 0);
}

}  // namespace
}  // namespace platform
