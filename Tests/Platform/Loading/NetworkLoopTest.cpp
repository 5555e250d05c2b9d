#include "Platform/Loading/Internal/NetworkLoop.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <future>

#include "CorvaneTesting/Expectation.hpp"
#include "TestSupport/OpenDescriptors.hpp"

namespace platform::detail {
namespace {

using corvane::testing::Expectation;

/// Runs on the loop side, and waits for it.
void onTheLoop(std::function<void()> work) {
  std::promise<void> done;
  NetworkLoop::shared().post([&] {
    work();
    done.set_value();
  });
  ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

struct Pipe {
  Pipe() { EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0); }
  ~Pipe() {
    for (const int end : ends) {
      if (end >= 0) ::close(end);
    }
  }
  void write() const { EXPECT_EQ(::write(ends[1], "x", 1), 1); }
  int reading() const { return ends[0]; }
  void closeReading() { ::close(std::exchange(ends[0], -1)); }

  std::array<int, 2> ends{-1, -1};
};

struct Reader : EventHandler {
  void ready(int descriptor, std::uint32_t) override {
    char byte = 0;
    EXPECT_EQ(::read(descriptor, &byte, 1), 1);
    heard.fulfil(descriptor);
  }
  Expectation<int> heard;
};

TEST(NetworkLoopTest, hearsOfAPipe) {
  Pipe pipe;
  Reader reader;
  onTheLoop([&] { EXPECT_EQ(NetworkLoop::shared().watch(pipe.reading(), EPOLLIN, reader), 0); });

  pipe.write();

  EXPECT_EQ(reader.heard.wait(), pipe.reading());
  onTheLoop([&] { NetworkLoop::shared().unwatch(pipe.reading()); });
}

TEST(NetworkLoopTest, tellsWhenADescriptorCannotBeWatched) {
  Pipe pipe;
  Reader reader;
  const int number = pipe.reading();
  pipe.closeReading();

  onTheLoop([&] { EXPECT_EQ(NetworkLoop::shared().watch(number, EPOLLIN, reader), EBADF); });
}

TEST(NetworkLoopTest, watchesTheNextDescriptorOfANumberThatWasClosedBeforehand) {
  Pipe first;
  Pipe second;
  Reader reader;
  const int number = first.reading();
  onTheLoop([&] {
    NetworkLoop& loop = NetworkLoop::shared();
    loop.watch(number, EPOLLIN, reader);
    ASSERT_EQ(::dup3(second.reading(), number, O_CLOEXEC), number);  // closes the first one
    EXPECT_EQ(loop.rewatch(number, EPOLLIN), 0);
  });

  second.write();

  EXPECT_EQ(reader.heard.wait(), number);
  onTheLoop([&] { NetworkLoop::shared().unwatch(number); });
}

TEST(NetworkLoopTest, doesNotTurnForACopyOfWhatWasClosed) {
  Pipe watched;
  Pipe other;
  Reader stale;
  Reader reader;
  const corvane::testing::DescriptorCopy copy(watched.reading());
  onTheLoop([&] {
    NetworkLoop& loop = NetworkLoop::shared();
    loop.watch(other.reading(), EPOLLIN, reader);
    loop.watch(watched.reading(), EPOLLIN, stale);
    const int number = watched.reading();
    watched.closeReading();
    loop.unwatch(number);  // too late: the copy keeps the watch alive
  });
  watched.write();
  other.write();
  EXPECT_EQ(reader.heard.wait(), other.reading());

  onTheLoop([] {});  // a turn that saw the stale event has ended

  EXPECT_THAT(corvane::testing::staleWatches(), ::testing::IsEmpty());
  EXPECT_FALSE(stale.heard.isFulfilled());
  onTheLoop([&] { NetworkLoop::shared().unwatch(other.reading()); });
}

}  // namespace
}  // namespace platform::detail
