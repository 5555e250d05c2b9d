#include "InterruptWatch.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <Corvane/Corvane.hpp>
#include <csignal>

namespace {

using corvane::DispatchQueue;

TEST(InterruptWatchTest, turnsAnInterruptIntoACallOnTheMainQueue) {
  bool isStopped = false;
  const InterruptWatch watch([&isStopped] { isStopped = true; });
  EXPECT_FALSE(watch.signal());

  kill(getpid(), SIGTERM);

  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return isStopped; }, 10));
  EXPECT_EQ(watch.signal(), SIGTERM);
}

TEST(InterruptWatchTest, leavesIgnoredSignalsIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  std::signal(SIGINT, SIG_DFL);  // a shell starts programs in the background with it ignored
  bool isStopped = false;
  const InterruptWatch watch([&isStopped] { isStopped = true; });

  kill(getpid(), SIGHUP);
  kill(getpid(), SIGINT);

  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return isStopped; }, 10));
  EXPECT_EQ(watch.signal(), SIGINT);
  std::signal(SIGHUP, SIG_DFL);
}

TEST(InterruptWatchTest, endsWithoutASignal) {
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  {
    const InterruptWatch watch([] {});
  }

  sigset_t after;
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal));
}

TEST(InterruptWatchDeathTest, endsAsTheSignalWould) {
  EXPECT_EXIT(endBySignal(SIGTERM), ::testing::KilledBySignal(SIGTERM), "");
}

}  // namespace
