#include "Platform/Networking/Loop/EventLoop.hpp"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Detail/TrapException.hpp"
#include "Platform/Networking/Loop/RequiredDescriptor.hpp"

namespace platform::networking {

namespace {

/// Of 128 events each, in one iteration.
constexpr int mostBatches = 32;
/// The events after which there may be something to read: bytes, the end, or an error.
constexpr std::uint32_t readable = EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR;

std::uint64_t keyOf(int descriptor, std::uint32_t generation) {
  return (std::uint64_t{generation} << 32) | static_cast<std::uint32_t>(descriptor);
}

}  // namespace

EventLoop::EventLoop()
    : epoll_(required(::epoll_create1(EPOLL_CLOEXEC), "epoll")),
      alarm_(required(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd")),
      receiveBuffer_(new std::byte[receiveBufferBytes]),
      now_(NetworkClock::now()) {
  for (const int descriptor : {ownership_.wakeDescriptor(), alarm_}) {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLET;
    event.data.u64 = keyOf(descriptor, 0);
    required(::epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event), "epoll");
  }
  ownership_.tryAcquire();
}

EventLoop::~EventLoop() {
  ::close(alarm_);
  ::close(epoll_);
}

int EventLoop::watch(int descriptor, Watcher& watcher, EventOrder order) {
  const auto index = static_cast<std::size_t>(descriptor);
  if (watches_.size() <= index) watches_.resize(index + 32);
  ++generation_;
  epoll_event event{};
  event.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
  event.data.u64 = keyOf(descriptor, generation_);
  if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) != 0) return errno;
  watches_[index] = {.watcher = &watcher, .generation = generation_, .order = order};
  return 0;
}

void EventLoop::unwatch(int descriptor) {
  const auto index = static_cast<std::size_t>(descriptor);
  if (index >= watches_.size() || !watches_[index].watcher) return;
  watches_[index] = {};
  // A copy of the descriptor in another process would keep a closed one in the set.
  ::epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr);
}

void EventLoop::defer(Deferred& deferred) {
  if (deferred.place_ != Deferred::notDeferred) return;
  detail::requiringMemory("the network loop cannot go on", [&] { deferred_.push_back(&deferred); });
  deferred.place_ = deferred_.size() - 1;
}

void EventLoop::cancelDeferred(Deferred& deferred) {
  const std::size_t place = std::exchange(deferred.place_, Deferred::notDeferred);
  // It may also be about to be called in this iteration.
  std::replace(running_.begin(), running_.end(), &deferred, static_cast<Deferred*>(nullptr));
  if (place == Deferred::notDeferred) return;
  deferred_[place] = deferred_.back();
  deferred_[place]->place_ = place;
  deferred_.pop_back();
  deferred.place_ = Deferred::notDeferred;
}

bool EventLoop::hasWork() { return workCount_ > 0 || !deferred_.empty() || ownership_.hasCommands(); }

void EventLoop::watchTimers() {
  const TimePoint next = timers_.nextLook();
  const TimePoint now = NetworkClock::now();
  const bool isWatched = alarmDue_ > now && alarmDue_ <= next;
  if (next == never || isWatched) return;
  // One that fires early only leads to a look that finds nothing; setting it each time would cost a call.
  alarmDue_ = std::max(next, now + std::chrono::milliseconds(1));
  const auto delay = alarmDue_ - now;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(delay);
  itimerspec spec{};
  spec.it_value.tv_sec = static_cast<time_t>(seconds.count());
  spec.it_value.tv_nsec = static_cast<long>((delay - seconds).count());
  ::timerfd_settime(alarm_, 0, &spec, nullptr);
}

bool EventLoop::iterate(Duration limit) noexcept {
  if (!iterateUndelivered(limit)) return false;
  submitDeliveries([] {});
  return true;
}

bool EventLoop::iterateUndelivered(Duration limit) noexcept {
  try {
    runOnce(limit);
    return !deliveries_.isEmpty();
  } catch (...) {
    detail::trapException({"out of memory in the network loop"}, {"An exception escaped into the network loop"});
  }
}

void EventLoop::runOnce(Duration limit) {
  const int budget = waitBudget(limit);
  const bool sleeps = budget != 0 && ownership_.beginSleep();
  const TimePoint begin = sleeps && !observers_.empty() ? NetworkClock::now() : TimePoint{};
  std::array<epoll_event, 128> events;
  // Also where commands wait already: what happened to idle connections must be known when they are chosen.
  int count = ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), sleeps ? budget : 0);
  if (sleeps) ownership_.endSleep();
  now_ = NetworkClock::now();
  const Duration slept = now_ - begin;
  // What has arrived counts before what is due: after a standstill, bytes that wait are no time-out.
  for (int batch = 1; count > 0; ++batch) {
    const std::span<const epoll_event> happened(events.data(), static_cast<std::size_t>(count));
    const bool mayWait = note(happened);
    // Requests leave before responses are read, so that the servers have something to do meanwhile.
    if (mayWait && batch == 1 && happened.size() < events.size() && deferred_.empty()) runCommands();
    handle(happened);
    if (count < static_cast<int>(events.size()) || batch == mostBatches) break;
    count = ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), 0);
  }
  for (std::size_t i = 0; sleeps && i < observers_.size(); ++i) observers_[i]->loopSlept(now_, slept);
  runDeferred();
  runCommands();
  fireTimers();
}

/// In milliseconds, as epoll wants it; -1: for ever.
int EventLoop::waitBudget(Duration limit) {
  if (!deferred_.empty()) return 0;
  const TimePoint next = timers_.nextLook();
  if (next != never) {
    const TimePoint now = NetworkClock::now();
    if (next <= now) return 0;
    // By a manual clock nothing gets due by waiting.
    if (!ManualNetworkClock::isInstalled()) limit = std::min(limit, next - now);
  }
  if (limit <= Duration::zero()) return 0;
  if (limit == Duration::max()) return -1;
  // Rounded up: waking before the time would only mean to wait again.
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(limit).count();
  return static_cast<int>(std::min<std::int64_t>(milliseconds, std::numeric_limits<int>::max()));
}

/// Null when an earlier event of this iteration closed the descriptor; a new socket may bear its number by now.
EventLoop::Watch* EventLoop::watchOf(const epoll_event& event) {
  const int descriptor = static_cast<int>(event.data.u64 & 0xffffffffU);
  if (descriptor == ownership_.wakeDescriptor() || descriptor == alarm_) return nullptr;
  Watch& watch = watches_[static_cast<std::size_t>(descriptor)];
  return watch.watcher && watch.generation == static_cast<std::uint32_t>(event.data.u64 >> 32) ? &watch : nullptr;
}

/// What one is told of, or a command, may make it use another, of which there is more to be told. Whether commands may
/// come before all of the events.
bool EventLoop::note(std::span<const epoll_event> events) {
  bool mayWait = true;
  for (const epoll_event& event : events) {
    Watch* const watch = watchOf(event);
    if (!watch) continue;
    watch->isReadable = (event.events & readable) != 0;
    const bool isEnd = (event.events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    if (isEnd || watch->order == EventOrder::beforeCommands) mayWait = false;
  }
  return mayWait;
}

void EventLoop::handle(std::span<const epoll_event> events) {
  for (const epoll_event& event : events) {
    Watch* const watch = watchOf(event);
    if (!watch) continue;
    watch->isReadable = false;
    const std::uint32_t flags = event.events;
    watch->watcher->descriptorReady({.readable = (flags & readable) != 0,
                                     .writable = (flags & (EPOLLOUT | EPOLLHUP | EPOLLERR)) != 0,
                                     .hungUp = (flags & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0});
  }
}

bool EventLoop::isAboutToTell(int descriptor) const {
  const auto index = static_cast<std::size_t>(descriptor);
  return descriptor >= 0 && index < watches_.size() && watches_[index].isReadable;
}

void EventLoop::runDeferred() {
  if (deferred_.empty()) return;
  running_.swap(deferred_);
  for (Deferred* deferred : running_) deferred->place_ = Deferred::notDeferred;
  for (std::size_t i = 0; i < running_.size(); ++i) {
    if (Deferred* const deferred = std::exchange(running_[i], nullptr)) deferred->runDeferred();
  }
  running_.clear();
}

void EventLoop::runCommands() {
  if (!ownership_.takeCommands(commands_)) return;
  now_ = NetworkClock::now();
  for (Block& command : commands_) command();
  commands_.clear();
}

void EventLoop::fireTimers() {
  while (Timer* const due = timers_.takeExpired(now_)) due->timerFired();
}

}  // namespace platform::networking
