#include "Platform/Foundation/Internal/RaisedSignalGuard.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace platform::detail {
namespace {

/// The signal is blocked while it lives, so that a guard that fails kills no test.
class BlockedSignal {
 public:
  explicit BlockedSignal(int signal) : signal_(signal) {
    sigemptyset(&set_);
    sigaddset(&set_, signal);
    ::pthread_sigmask(SIG_BLOCK, &set_, &before_);
  }
  ~BlockedSignal() {
    consume();
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  BlockedSignal(const BlockedSignal&) = delete;
  BlockedSignal& operator=(const BlockedSignal&) = delete;

  /// Whether it is pending; it is not any more then.
  bool consume() const {
    const timespec atOnce{};
    return ::sigtimedwait(&set_, nullptr, &atOnce) == signal_;
  }

 private:
  const int signal_;
  sigset_t set_;
  sigset_t before_;
};

TEST(RaisedSignalGuardTest, consumesWhatIsRaisedWhileItLives) {
  const BlockedSignal signal(SIGPIPE);
  {
    const RaisedSignalGuard guard(SIGPIPE);
    ::raise(SIGPIPE);
  }

  EXPECT_FALSE(signal.consume());
}

TEST(RaisedSignalGuardTest, leavesWhatWasPendingBefore) {
  const BlockedSignal signal(SIGPIPE);
  ::raise(SIGPIPE);
  {
    const RaisedSignalGuard guard(SIGPIPE);
  }

  EXPECT_TRUE(signal.consume());
}

TEST(RaisedSignalGuardTest, givesTheThreadItsMaskBack) {
  sigset_t before;
  sigset_t inside;
  sigset_t after;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
  {
    const RaisedSignalGuard guard(SIGXFSZ);
    ::pthread_sigmask(SIG_SETMASK, nullptr, &inside);
  }
  ::pthread_sigmask(SIG_SETMASK, nullptr, &after);

  EXPECT_EQ(sigismember(&inside, SIGXFSZ), 1);
  EXPECT_EQ(sigismember(&after, SIGXFSZ), sigismember(&before, SIGXFSZ));
}

TEST(RaisedSignalGuardTest, aFileThatMayNotGrowIsAnErrorAndRaisesNothing) {
  const BlockedSignal signal(SIGXFSZ);
  const corvane::testkit::TemporaryDirectory directory;
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
  const rlimit limited{1000, saved.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);

  EXPECT_THROW(FileManager::write(Data(std::string(2000, 'x')), (directory / "large").native()), Error);

  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &saved), 0);
  EXPECT_FALSE(signal.consume());
}

}  // namespace
}  // namespace platform::detail
