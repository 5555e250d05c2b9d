#include "InterruptWatch.hpp"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <Corvane/Corvane.hpp>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

namespace {

// Who started us may have ignored some of them, as nohup does, and blocking would undo that.
sigset_t watchedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action{};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&signals, number);
  }
  return signals;
}

int checked(int descriptor) {
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
  return descriptor;
}

}  // namespace

class InterruptWatch::Watcher {
 public:
  explicit Watcher(std::function<void()> stop) : stop_(std::move(stop)), signals_(watchedSignals()) {
    pthread_sigmask(SIG_BLOCK, &signals_, &maskBefore_);
    received_ = checked(signalfd(-1, &signals_, SFD_CLOEXEC));
    end_ = checked(eventfd(0, EFD_CLOEXEC));
    thread_ = std::thread([this] { watch(); });
  }

  ~Watcher() {
    eventfd_write(end_, 1);
    thread_.join();
    close(end_);
    close(received_);
    pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
  }

  std::optional<int> signal() const {
    const int number = signal_;
    return number == 0 ? std::nullopt : std::optional(number);
  }

 private:
  void watch() {
    pollfd sources[] = {{.fd = received_, .events = POLLIN, .revents = 0},
                        {.fd = end_, .events = POLLIN, .revents = 0}};
    while (true) {
      if (poll(sources, 2, -1) < 0) continue;
      if (sources[0].revents != 0) receive();
      if (sources[1].revents != 0) return;
    }
  }

  void receive() {
    signalfd_siginfo information{};
    if (read(received_, &information, sizeof information) != sizeof information) return;
    const int number = static_cast<int>(information.ssi_signo);
    if (signal_ != 0) endBySignal(number);
    signal_ = number;
    corvane::DispatchQueue::main().async([stop = stop_] { stop(); });
  }

  const std::function<void()> stop_;
  const sigset_t signals_;
  sigset_t maskBefore_{};
  int received_ = -1;
  int end_ = -1;
  std::atomic<int> signal_ = 0;
  std::thread thread_;
};

InterruptWatch::InterruptWatch(std::function<void()> stop) : watcher_(std::make_unique<Watcher>(std::move(stop))) {}

InterruptWatch::~InterruptWatch() = default;

std::optional<int> InterruptWatch::signal() const { return watcher_->signal(); }

void endBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
  raise(signal);
  std::_Exit(128 + signal);  // where somebody else blocks it
}
