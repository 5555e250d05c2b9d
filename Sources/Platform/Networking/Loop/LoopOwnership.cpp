#include "Platform/Networking/Loop/LoopOwnership.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

namespace {

/// How long a leader may take to come, or to come back, before the network thread steps in.
constexpr long graceNanoseconds = 1'000'000;
/// Between two looks of the parked network thread while somebody else leads.
constexpr int parkedLookMilliseconds = 1000;
/// The pauses in which the network thread offers the loop to no leader, after one was late.
constexpr Duration shortestPause = std::chrono::milliseconds(10);
constexpr Duration longestPause = std::chrono::seconds(1);

thread_local bool expectsToLead = false;
thread_local bool alwaysLeads = false;

int checked(int descriptor, const char* what) {
  if (descriptor < 0)
    trap(std::string("the network loop cannot start: ") + what + ": " + std::system_category().message(errno));
  return descriptor;
}

void ring(int eventDescriptor) {
  const std::uint64_t one = 1;
  // A full counter still wakes the reader, so the result says nothing that matters.
  [[maybe_unused]] const auto written = ::write(eventDescriptor, &one, sizeof one);
}

void clear(int descriptor) {
  std::uint64_t count = 0;
  // Non-blocking: nothing to read is fine.
  [[maybe_unused]] const auto got = ::read(descriptor, &count, sizeof count);
}

}  // namespace

LoopOwnership::LoopOwnership()
    : wake_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      parkWake_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      graceTimer_(checked(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd")) {}

LoopOwnership::~LoopOwnership() {
  ::close(wake_);
  ::close(parkWake_);
  ::close(graceTimer_);
}

void LoopOwnership::noteThatThisThreadLeads(bool always) {
  expectsToLead = true;
  alwaysLeads = always;
}

void LoopOwnership::post(Block command) {
  detail::ForkGuard::requireThreads();
  bool wakesOwner = false;
  bool callsThread = false;
  bool startsTimer = false;
  {
    const detail::MutexLock lock(mutex_);
    inbox_.push_back(std::move(command));
    if (isOwned_) {
      wakesOwner = std::exchange(isSleeping_, false);
    } else if (inbox_.size() == 1 || isParked_) {
      const bool isLeftToThisThread = expectsToLead && (!alwaysLeads || trustsLeaders_);
      callsThread = !isLeftToThisThread;
      startsTimer = isLeftToThisThread && needsGraceTimer();
      if (isLeftToThisThread) expectsToLead = alwaysLeads;
    }
  }
  if (wakesOwner) ring(wake_);
  if (callsThread) ring(parkWake_);
  if (startsTimer) startGraceTimer();
}

bool LoopOwnership::tryAcquire() {
  const detail::MutexLock lock(mutex_);
  if (isOwned_ || isStopped_) return false;
  isOwned_ = true;
  wasLeftBusy_ = false;
  ++owners_;
  return true;
}

void LoopOwnership::interrupt() {
  {
    const detail::MutexLock lock(mutex_);
    if (!isOwned_ || !std::exchange(isSleeping_, false)) return;
  }
  ring(wake_);
}

void LoopOwnership::stop() {
  if (detail::ForkGuard::isForkedChild()) return;  // whoever owned the loop is not here
  const detail::MutexLock lock(mutex_);
  isStopped_ = true;
  if (isOwned_ && isSleeping_) ring(wake_);
  // A turn takes microseconds; the bound is for an exit from inside the loop's own turn.
  released_.waitUntil(mutex_, std::chrono::steady_clock::now() + std::chrono::seconds(1),
                      [&]() CORVANE_REQUIRES(mutex_) { return !isOwned_; });
}

bool LoopOwnership::hasCommands() {
  const detail::MutexLock lock(mutex_);
  return !inbox_.empty();
}

bool LoopOwnership::takeCommands(std::vector<Block>& commands) {
  const detail::MutexLock lock(mutex_);
  if (inbox_.empty()) return false;
  commands.swap(inbox_);
  return true;
}

bool LoopOwnership::beginSleep() {
  const detail::MutexLock lock(mutex_);
  isSleeping_ = inbox_.empty() && !isStopped_;
  return isSleeping_;
}

void LoopOwnership::endSleep() {
  const detail::MutexLock lock(mutex_);
  isSleeping_ = false;
}

void LoopOwnership::release(bool isBusy, Successor successor) {
  bool callsThread = false;
  bool startsTimer = false;
  {
    const detail::MutexLock lock(mutex_);
    isOwned_ = false;
    wasLeftBusy_ = (isBusy || !inbox_.empty()) && !isStopped_;
    callsThread = wasLeftBusy_ && successor == Successor::networkThread;
    startsTimer = wasLeftBusy_ && successor == Successor::leader && needsGraceTimer();
    if (isStopped_) released_.notifyAll();
  }
  if (callsThread) ring(parkWake_);
  if (startsTimer) startGraceTimer();
}

/// When work is left to a leader that has yet to come.
bool LoopOwnership::needsGraceTimer() {
  // One that ticks already will do: setting a timer costs as much as the rest of a hop.
  if (std::exchange(graceTimerTicks_, true)) return false;
  ownersAtLastLook_ = owners_;
  return true;
}

void LoopOwnership::startGraceTimer() {
  itimerspec spec{};
  spec.it_value.tv_nsec = graceNanoseconds;
  ::timerfd_settime(graceTimer_, 0, &spec, nullptr);
}

/// Whether work has waited for a leader so long that the network thread has to step in. Called when the timer
/// has fired.
bool LoopOwnership::isLeaderLate() {
  {
    const detail::MutexLock lock(mutex_);
    const bool isWaitedFor = !isOwned_ && (wasLeftBusy_ || !inbox_.empty());
    const bool someoneCame = std::exchange(ownersAtLastLook_, owners_) != owners_;
    graceTimerTicks_ = isWaitedFor && someoneCame;
    if (isWaitedFor && !someoneCame) trustsLeaders_ = false;
    if (!graceTimerTicks_) return isWaitedFor;
  }
  startGraceTimer();
  return false;
}

bool LoopOwnership::offersTheLoop(TimePoint now) {
  if (now < offersAgain_) return false;
  const detail::MutexLock lock(mutex_);
  trustsLeaders_ = true;
  return true;
}

void LoopOwnership::pauseOffers() {
  const TimePoint now = NetworkClock::now();
  const bool isLongAgo = now - offersAgain_ > longestPause;
  pause_ = isLongAgo ? shortestPause : std::min(pause_ * 2, longestPause);
  offersAgain_ = now + pause_;
}

void LoopOwnership::park(int idleEvents) {
  std::array<pollfd, 3> descriptors{{{parkWake_, POLLIN, 0}, {graceTimer_, POLLIN, 0}, {idleEvents, POLLIN, 0}}};
  nfds_t watched = 3;
  int limit = -1;
  {
    const detail::MutexLock lock(mutex_);
    isParked_ = true;
    if (isStopped_) {
      watched = 1;
    } else if (isOwned_ || wasLeftBusy_) {
      // The leader takes the events; looking at them too would only wake this thread for nothing.
      watched = 2;
      limit = parkedLookMilliseconds;
    }
  }
  bool isNeeded = false;
  while (!isNeeded) {
    ::poll(descriptors.data(), watched, limit);
    const bool isCalled = descriptors[0].revents != 0;
    const bool timerFired = descriptors[1].revents != 0;
    if (isCalled) clear(parkWake_);
    if (timerFired) clear(graceTimer_);
    const bool leaderIsLate = timerFired && isLeaderLate();
    if (leaderIsLate) pauseOffers();
    isNeeded = leaderIsLate || isCalled || descriptors[2].revents != 0 || !timerFired;
  }
  const detail::MutexLock lock(mutex_);
  isParked_ = false;
}

}  // namespace platform::networking
