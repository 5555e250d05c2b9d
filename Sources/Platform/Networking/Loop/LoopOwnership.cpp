#include "Platform/Networking/Loop/LoopOwnership.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <utility>

#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Networking/Loop/RequiredDescriptor.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

namespace {

/// Half of the time that a leader may take to come, or to come back, before the network thread takes over.
constexpr Duration grace = std::chrono::milliseconds(1);
/// A timer that has run so long for so few releases of the loop is stopped before its driver sleeps. Where releases
/// follow each other at once, stopping and setting it would cost more than the wake-ups that it causes: in a virtual
/// machine either takes microseconds.
constexpr Duration oldTimer = grace / 4;
constexpr int fewReleases = 2;
/// Between two looks of the parked network thread while somebody else leads.
constexpr int parkedLookMilliseconds = 1000;
/// How long no work is left to leaders after one was late: so lateness costs two milliseconds in a hundred at most.
constexpr Duration distrust = std::chrono::milliseconds(100);

/// Whether a thread that posts a command now is likely to drive the loop soon.
enum class Habit : std::uint8_t {
  none,
  leadsOnce,   ///< it drove, and so will probably wait for what it sends next
  leadsAlways  ///< a worker, which drives when it has nothing else to do
};

thread_local Habit habit = Habit::none;

void ring(int eventDescriptor) {
  const std::uint64_t one = 1;
  // A full counter still wakes the reader, so the result says nothing that matters.
  [[maybe_unused]] const auto written = ::write(eventDescriptor, &one, sizeof one);
}

/// Stops it if there is no `delay`.
void setTimer(int timerDescriptor, Duration delay) {
  itimerspec spec{};
  spec.it_value.tv_nsec = static_cast<long>(std::chrono::nanoseconds(delay).count());
  ::timerfd_settime(timerDescriptor, 0, &spec, nullptr);
}

void clear(int descriptor) {
  std::uint64_t count = 0;
  // Non-blocking: nothing to read is fine.
  [[maybe_unused]] const auto got = ::read(descriptor, &count, sizeof count);
}

}  // namespace

LoopOwnership::LoopOwnership()
    : wake_(required(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      parkWake_(required(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      graceTimer_(required(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd")) {}

LoopOwnership::~LoopOwnership() {
  ::close(wake_);
  ::close(parkWake_);
  ::close(graceTimer_);
}

LoopOwnership::Action LoopOwnership::tell(Event event) {
  const detail::MutexLock lock(mutex_);
  return on(event);
}

LoopOwnership::Action LoopOwnership::on(Event event) {
  const Action action = states_.on(event);
  if (action == Action::setTimer) {
    timerSet_ = NetworkClock::now();
    releases_ = 0;
  }
  return action;
}

void LoopOwnership::carryOut(Action action) {
  switch (action) {
    case Action::wake:
      ring(wake_);
      break;
    case Action::call:
      ring(parkWake_);
      break;
    case Action::setTimer:
      setTimer(graceTimer_, grace);
      break;
    case Action::stopTimer:
      setTimer(graceTimer_, Duration::zero());
      break;
    case Action::tell:
      stopped_.notifyAll();
      break;
    case Action::impossible:
      trap("the network loop was asked for what only its driver may ask for");
    case Action::none:
    case Action::refuse:
    case Action::takeOver:
      break;
  }
}

void LoopOwnership::noteThatThisThreadLeads(bool always) { habit = always ? Habit::leadsAlways : Habit::leadsOnce; }

void LoopOwnership::post(Block command) {
  detail::ForkGuard::requireThreads();
  Action action{};
  {
    const detail::MutexLock lock(mutex_);
    inbox_.push_back(std::move(command));
    const bool isLeaders = habit != Habit::none && trustsLeaders();
    if (habit == Habit::leadsOnce && !states_.isOwned()) habit = Habit::none;
    action = on(isLeaders ? Event::leadersCommand : Event::command);
  }
  carryOut(action);
}

bool LoopOwnership::tryAcquire() { return tell(Event::acquire) != Action::refuse; }

void LoopOwnership::interrupt() { carryOut(tell(Event::interrupt)); }

void LoopOwnership::stop() {
  if (detail::ForkGuard::isForkedChild()) return;  // its owner is not here
  carryOut(tell(Event::stop));
  const detail::MutexLock lock(mutex_);
  // An iteration takes microseconds; the bound is for an exit from inside the loop's own iteration.
  stopped_.waitUntil(mutex_, std::chrono::steady_clock::now() + std::chrono::seconds(1),
                     [&]() CORVANE_REQUIRES(mutex_) { return !states_.isOwned(); });
}

bool LoopOwnership::isStopped() {
  const detail::MutexLock lock(mutex_);
  return states_.isStopped();
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
  Action action = Action::none;
  {
    const detail::MutexLock lock(mutex_);
    if (!inbox_.empty() || on(Event::sleep) == Action::refuse) return false;
    const bool isSlow = states_.timerRuns() && releases_ <= fewReleases;
    if (isSlow && NetworkClock::now() - timerSet_ >= oldTimer) action = states_.stopTimer();
  }
  carryOut(action);
  return true;
}

void LoopOwnership::endSleep() { carryOut(tell(Event::wake)); }

void LoopOwnership::release(bool isBusy, Successor successor) {
  Action action{};
  {
    const detail::MutexLock lock(mutex_);
    if (states_.timerRuns()) ++releases_;
    if (!isBusy && inbox_.empty()) {
      action = on(Event::releaseIdle);
    } else {
      const bool isLeaders = successor == Successor::leader && trustsLeaders();
      action = on(isLeaders ? Event::releaseToLeader : Event::releaseToThread);
    }
  }
  carryOut(action);
}

/// Whether work has waited for a leader so long that the network thread has to drive. Called when the timer has fired.
bool LoopOwnership::isLeaderLate() {
  Action action{};
  {
    const detail::MutexLock lock(mutex_);
    action = on(Event::graceOver);
    if (action == Action::takeOver) trustsAgain_ = NetworkClock::now() + distrust;
  }
  carryOut(action);
  return action == Action::takeOver;
}

bool LoopOwnership::offersTheLoop() {
  const detail::MutexLock lock(mutex_);
  return trustsLeaders();
}

bool LoopOwnership::trustsLeaders() {
  if (trustsAgain_ && NetworkClock::now() >= *trustsAgain_) trustsAgain_.reset();
  return !trustsAgain_;
}

void LoopOwnership::park(int idleEvents) {
  std::array<pollfd, 3> descriptors{{{parkWake_, POLLIN, 0}, {graceTimer_, POLLIN, 0}, {idleEvents, POLLIN, 0}}};
  State state{};
  {
    const detail::MutexLock lock(mutex_);
    state = states_.state();
  }
  // While there is work, a leader takes the events; looking at them too would only wake this thread for nothing.
  const nfds_t watched = state == State::ended ? 1 : state == State::idle ? 3 : 2;
  const int limit = watched == 2 ? parkedLookMilliseconds : -1;
  bool isNeeded = false;
  while (!isNeeded) {
    ::poll(descriptors.data(), watched, limit);
    const bool isCalled = descriptors[0].revents != 0;
    const bool timerFired = descriptors[1].revents != 0;
    if (isCalled) clear(parkWake_);
    if (timerFired) clear(graceTimer_);
    const bool leaderIsLate = timerFired && isLeaderLate();
    isNeeded = leaderIsLate || isCalled || descriptors[2].revents != 0 || !timerFired;
  }
}

}  // namespace platform::networking
