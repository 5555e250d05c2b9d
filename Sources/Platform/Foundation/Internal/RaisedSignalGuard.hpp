#pragma once

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace platform::detail {

/// Keeps a signal from the application that a call raises on its own thread, while this lives: a thread of the
/// application may make the call for the library, and leaves the signal unblocked. What is raised meanwhile is
/// consumed; one that was pending before stays so. `errno` is kept.
class RaisedSignalGuard {
 public:
  explicit RaisedSignalGuard(int signal) : signal_(signal) {
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, signal_) == 1;
    const sigset_t raised = only(signal_);
    pthread_sigmask(SIG_BLOCK, &raised, &previous_);
  }
  ~RaisedSignalGuard() {
    const int error = errno;
    const sigset_t raised = only(signal_);
    // Also when the call gave a count: it may have failed after that.
    if (!wasPending_) {
      const timespec atOnce{};
      while (sigtimedwait(&raised, nullptr, &atOnce) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    errno = error;
  }
  RaisedSignalGuard(const RaisedSignalGuard&) = delete;
  RaisedSignalGuard& operator=(const RaisedSignalGuard&) = delete;

 private:
  static sigset_t only(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
  }

  const int signal_;
  sigset_t previous_;
  bool wasPending_ = false;
};

}  // namespace platform::detail
