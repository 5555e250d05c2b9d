#include "Platform/Loading/Internal/NetworkLoop.hpp"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string>
#include <system_error>
#include <thread>

#include "Platform/Loading/Internal/TransportLibraries.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

namespace {

/// How long a thread that led last time may take to come and lead again before the network thread steps in.
constexpr long leadGraceNanoseconds = 1'000'000;
/// Between two looks of the parked network thread while somebody else leads.
constexpr int parkedLookMilliseconds = 1000;

/// The pauses in which the network thread offers the loop to no leader, after one was late.
constexpr LoopTime shortestPause = 10 * oneMillisecond;
constexpr LoopTime longestPause = 1000 * oneMillisecond;

/// Whether this thread drove the loop when it waited last, and so will probably drive it again.
thread_local bool expectsToLead = false;
/// The same for a thread that comes back to wait whatever it does in between.
thread_local bool alwaysLeads = false;

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

int checked(int descriptor, const char* what) {
  if (descriptor < 0)
    trap(std::string("the network loop cannot start: ") + what + ": " + std::system_category().message(errno));
  return descriptor;
}

}  // namespace

NetworkLoop& NetworkLoop::shared() {
  static NetworkLoop& loop = *new NetworkLoop;
  return loop;
}

NetworkLoop::NetworkLoop() {
  startTransportLibraries();
  epoll_ = checked(::epoll_create1(EPOLL_CLOEXEC), "epoll");
  wake_ = checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
  parkWake_ = checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
  parkTimer_ = checked(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd");
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = static_cast<std::uint32_t>(wake_);
  ::epoll_ctl(epoll_, EPOLL_CTL_ADD, wake_, &event);
  now_ = loopNow();

  // The thread inherits a mask that blocks everything: signals belong to the application's threads.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread([this] { runThread(); }).detach();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);

  Driver::shared.store(this, std::memory_order_release);
  std::atexit(&NetworkLoop::stopAtExit);
}

void NetworkLoop::stopAtExit() {
  NetworkLoop& loop = shared();
  std::unique_lock lock(loop.mutex_);
  loop.stopped_ = true;
  if (loop.owned_ && loop.sleeping_) ring(loop.wake_);
  // A turn takes microseconds; the bound is for an exit from inside the loop's own turn.
  loop.disowned_.wait_for(lock, std::chrono::seconds(1), [&] { return !loop.owned_; });
}

void NetworkLoop::post(Block command) {
  enum class Wake { none, loop, park, later } wake = Wake::none;
  {
    const std::lock_guard lock(mutex_);
    inbox_.push_back(std::move(command));
    if (owned_) {
      if (sleeping_) wake = Wake::loop;
      sleeping_ = false;
    } else if (inbox_.size() == 1 || parked_) {
      wake = expectsToLead && (!alwaysLeads || trustsLeaders_) ? Wake::later : Wake::park;
    }
    if (wake == Wake::later) {
      expectsToLead = alwaysLeads;
      if (!needsGraceTimer()) wake = Wake::none;
    }
  }
  switch (wake) {
    case Wake::none:
      break;
    case Wake::loop:
      ring(wake_);
      break;
    case Wake::park:
      ring(parkWake_);
      break;
    case Wake::later:
      startGraceTimer();
      break;
  }
}

void NetworkLoop::startGraceTimer() {
  itimerspec spec{};
  spec.it_value.tv_nsec = leadGraceNanoseconds;
  ::timerfd_settime(parkTimer_, 0, &spec, nullptr);
}

/// To be called with the lock held when work is left to a leader that has yet to come.
bool NetworkLoop::needsGraceTimer() {
  // One that ticks already will do: setting a timer costs as much as the rest of a hop.
  if (std::exchange(graceTimerTicks_, true)) return false;
  ownersAtLastLook_ = owners_;
  return true;
}

/// Whether work has waited for a leader so long that the network thread has to step in. Called when the
/// timer has fired.
bool NetworkLoop::isLeaderLate() {
  {
    const std::lock_guard lock(mutex_);
    const bool isWaitedFor = !owned_ && (leftBusy_ || !inbox_.empty());
    const bool someoneCame = std::exchange(ownersAtLastLook_, owners_) != owners_;
    graceTimerTicks_ = isWaitedFor && someoneCame;
    if (isWaitedFor && !someoneCame) trustsLeaders_ = false;
    if (!graceTimerTicks_) return isWaitedFor;
  }
  startGraceTimer();
  return false;
}

bool NetworkLoop::tryOwn() {
  const std::lock_guard lock(mutex_);
  if (owned_ || stopped_) return false;
  owned_ = true;
  leftBusy_ = false;
  ++owners_;
  return true;
}

void NetworkLoop::disown(Successor successor) {
  const bool busy = hasWork();
  bool callsThread = false;
  bool startsTimer = false;
  {
    const std::lock_guard lock(mutex_);
    owned_ = false;
    leftBusy_ = (busy || !inbox_.empty()) && !stopped_;
    callsThread = leftBusy_ && successor == Successor::networkThread;
    startsTimer = leftBusy_ && successor == Successor::leader && needsGraceTimer();
    if (stopped_) disowned_.notify_all();
  }
  if (callsThread) ring(parkWake_);
  if (startsTimer) startGraceTimer();
}

bool NetworkLoop::hasWork() {
  if (std::any_of(tickers_.begin(), tickers_.end(), [](Ticker* ticker) { return ticker->isBusy(); })) return true;
  const std::lock_guard lock(mutex_);
  return !inbox_.empty();
}

void NetworkLoop::runThread() {
  pthread_setname_np(pthread_self(), "corvane.network");
  for (;;) {
    if (tryOwn()) {
      // At least one turn: it also sees connections that were closed while idle.
      bool delivered = false;
      do {
        delivered = turn(hasWork() ? never : 0);
      } while (hasWork() && !stopped_ && !(delivered && offersTheLoop()));
      disown(Successor::leader);
    }
    park();
  }
}

/// Whether the network thread lets a worker take over that just got work and will come back to wait: then
/// the next answers need no change of threads. When leaders are late, they are offered the loop less and less.
bool NetworkLoop::offersTheLoop() {
  if (now_ < offersAgain_) return false;
  const std::lock_guard lock(mutex_);
  trustsLeaders_ = true;
  return true;
}

/// After a leader was late.
void NetworkLoop::pauseOffers() {
  const LoopTime now = loopNow();
  const bool isLongAgo = now - offersAgain_ > longestPause;
  pause_ = isLongAgo ? shortestPause : std::min(pause_ * 2, longestPause);
  offersAgain_ = now + pause_;
}

void NetworkLoop::park() {
  std::array<pollfd, 3> descriptors{{{parkWake_, POLLIN, 0}, {parkTimer_, POLLIN, 0}, {epoll_, POLLIN, 0}}};
  nfds_t watched = 3;
  int limit = -1;
  {
    const std::lock_guard lock(mutex_);
    parked_ = true;
    if (stopped_) {
      watched = 1;
    } else if (owned_ || leftBusy_) {
      // The leader takes the events; looking at them too would only wake this thread for nothing.
      watched = 2;
      limit = parkedLookMilliseconds;
    }
  }
  bool isNeeded = false;
  while (!isNeeded) {
    ::poll(descriptors.data(), watched, limit);
    const bool timerFired = descriptors[1].revents != 0;
    const bool isCalled = descriptors[0].revents != 0;
    if (isCalled) clear(parkWake_);
    if (timerFired) clear(parkTimer_);
    const bool leaderIsLate = timerFired && isLeaderLate();
    if (leaderIsLate) pauseOffers();
    isNeeded = leaderIsLate || isCalled || descriptors[2].revents != 0 || !timerFired;
  }
  const std::lock_guard lock(mutex_);
  parked_ = false;
}

bool NetworkLoop::drive(AssistedWait& wait, Seconds limit) {
  if (!tryOwn()) return false;
  const LoopTime deadline = loopNow() + loopInterval(limit.count());
  for (;;) {
    if (wait.isDone() || stopped_ || !hasWork()) break;
    const LoopTime left = deadline - loopNow();
    if (left <= 0) break;
    LocalWork local;
    expectsToLead = true;
    alwaysLeads = wait.comesBack();
    if (!turn(left)) continue;
    // What the turn finished runs on this thread, but the loop must not stand still for long meanwhile.
    disown(Successor::leader);
    local.run();
    if (!tryOwn()) return wait.isDone();
  }
  disown(wait.comesBack() ? Successor::leader : Successor::networkThread);
  return wait.isDone();
}

void NetworkLoop::interrupt() {
  {
    const std::lock_guard lock(mutex_);
    if (!owned_ || !sleeping_) return;
    sleeping_ = false;
  }
  ring(wake_);
}

void NetworkLoop::add(Ticker& ticker) { tickers_.push_back(&ticker); }

void NetworkLoop::remove(Ticker& ticker) { std::erase(tickers_, &ticker); }

void NetworkLoop::watch(int descriptor, std::uint32_t events, EventHandler& handler) {
  const auto index = static_cast<std::size_t>(descriptor);
  if (watches_.size() <= index) watches_.resize(index + 32);
  watches_[index] = {&handler, ++generation_};
  epoll_event event{};
  event.events = events;
  event.data.u64 = (std::uint64_t{generation_} << 32) | static_cast<std::uint32_t>(descriptor);
  if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) != 0 && errno == EEXIST) {
    ::epoll_ctl(epoll_, EPOLL_CTL_MOD, descriptor, &event);
  }
}

void NetworkLoop::rewatch(int descriptor, std::uint32_t events) {
  const Watch& watch = watches_[static_cast<std::size_t>(descriptor)];
  epoll_event event{};
  event.events = events;
  event.data.u64 = (std::uint64_t{watch.generation} << 32) | static_cast<std::uint32_t>(descriptor);
  ::epoll_ctl(epoll_, EPOLL_CTL_MOD, descriptor, &event);
}

void NetworkLoop::unwatch(int descriptor, bool isOpen) {
  watches_[static_cast<std::size_t>(descriptor)] = {};
  // Closing a descriptor takes it out of the set by itself.
  if (isOpen) ::epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr);
}

void NetworkLoop::deliver(const DispatchQueue& queue, Block block) {
  for (auto& [target, blocks] : deliveries_) {
    if (target == queue) {
      blocks.push_back(std::move(block));
      return;
    }
  }
  deliveries_.emplace_back(queue, std::vector<Block>()).second.push_back(std::move(block));
}

bool NetworkLoop::turn(LoopTime limit) {
  const int budget = waitBudget(limit);
  bool sleeps = false;
  if (budget != 0) {
    const std::lock_guard lock(mutex_);
    sleeps = sleeping_ = inbox_.empty() && !stopped_;
  }
  // Also before commands that wait already: what happened to idle connections must be known when they are chosen.
  const LoopTime begin = sleeps ? loopNow() : 0;
  std::array<epoll_event, 128> events;
  const int count = ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), sleeps ? budget : 0);
  if (sleeps) {
    const std::lock_guard lock(mutex_);
    sleeping_ = false;
  }
  now_ = loopNow();
  for (std::size_t i = 0; sleeps && i < tickers_.size(); ++i) tickers_[i]->slept(now_ - begin);
  if (count > 0) handle(events.data(), count);
  runCommands();
  tick();
  return flushDeliveries();
}

void NetworkLoop::runCommands() {
  {
    const std::lock_guard lock(mutex_);
    if (inbox_.empty()) return;
    commands_.swap(inbox_);
  }
  now_ = loopNow();
  for (Block& command : commands_) command();
  commands_.clear();
}

int NetworkLoop::waitBudget(LoopTime limit) {
  LoopTime next = never;
  for (Ticker* ticker : tickers_) next = std::min(next, ticker->nextTick());
  if (next != never) {
    const LoopTime now = loopNow();
    limit = std::min(limit, next > now ? next - now : 0);
  }
  if (limit == never) return -1;
  // Rounded up: waking before the time would only mean to wait again.
  return static_cast<int>(
      std::min<LoopTime>((limit + oneMillisecond - 1) / oneMillisecond, std::numeric_limits<int>::max()));
}

void NetworkLoop::handle(const epoll_event* events, int count) {
  for (int i = 0; i < count; ++i) {
    const int descriptor = static_cast<int>(events[i].data.u64 & 0xffffffffU);
    if (descriptor == wake_) {
      clear(wake_);
      continue;
    }
    // An earlier event of this batch may have closed the descriptor, and a new socket may bear its number.
    const Watch watch = watches_[static_cast<std::size_t>(descriptor)];
    if (watch.handler && watch.generation == static_cast<std::uint32_t>(events[i].data.u64 >> 32)) {
      watch.handler->ready(descriptor, events[i].events);
    }
  }
}

void NetworkLoop::tick() {
  for (std::size_t i = 0; i < tickers_.size(); ++i) {
    if (tickers_[i]->nextTick() <= now_) tickers_[i]->tick(now_);
  }
}

bool NetworkLoop::flushDeliveries() {
  if (deliveries_.empty()) return false;
  for (auto& [queue, blocks] : deliveries_) queue.async(std::move(blocks));
  deliveries_.clear();
  return true;
}

}  // namespace platform::detail
