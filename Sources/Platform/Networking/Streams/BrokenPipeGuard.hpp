#pragma once

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace platform::networking {

/// Keeps SIGPIPE from the application while it lives, for calls that know no MSG_NOSIGNAL: a thread of the application
/// may own the loop, and leaves the signal unblocked. What is raised meanwhile is consumed; one that was pending before
/// stays so. `errno` is kept.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard() {
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    const sigset_t broken = brokenPipe();
    pthread_sigmask(SIG_BLOCK, &broken, &previous_);
  }
  ~BrokenPipeGuard() {
    const int error = errno;
    const sigset_t broken = brokenPipe();
    // Also when the call gave a count: what was sent before the pipe broke.
    if (!wasPending_) {
      const timespec atOnce{};
      while (sigtimedwait(&broken, nullptr, &atOnce) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    errno = error;
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  static sigset_t brokenPipe() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
  }

  sigset_t previous_;
  bool wasPending_ = false;
};

}  // namespace platform::networking
