#include "Platform/Loading/Internal/NetworkLoop.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string>
#include <system_error>

#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Loading/Internal/TransportLibraries.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

namespace {

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
  checked(watchWake(epoll_) ? 0 : -1, "epoll");
  now_ = loopNow();

  if (!startThread("corvane.network", [this] { runThread(); }))
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again), "the network thread");

  Driver::shared.store(this, std::memory_order_release);
  std::atexit([] { shared().ownership_.stop(); });
}

bool NetworkLoop::watchWake(int epoll) const {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = static_cast<std::uint32_t>(ownership_.wakeDescriptor());
  return ::epoll_ctl(epoll, EPOLL_CTL_ADD, ownership_.wakeDescriptor(), &event) == 0;
}

bool NetworkLoop::hasWork() {
  return std::any_of(tickers_.begin(), tickers_.end(), [](Ticker* ticker) { return ticker->isBusy(); }) ||
         ownership_.hasCommands();
}

void NetworkLoop::runThread() {
  for (;;) {
    if (ownership_.tryOwn()) {
      // At least one turn: it also sees connections that were closed while idle.
      bool delivered = false;
      do {
        delivered = turn(hasWork() ? never : 0);
      } while (hasWork() && !ownership_.isStopped() && !(delivered && ownership_.offersTheLoop(now_)));
      ownership_.disown(hasWork(), LoopOwnership::Successor::leader);
    }
    ownership_.park(epoll_);
  }
}

bool NetworkLoop::drive(CooperativeWait& wait, Seconds limit) {
  if (!ownership_.tryOwn()) return false;
  const LoopTime deadline = loopNow() + loopInterval(limit.count());
  while (!wait.isDone() && !ownership_.isStopped() && hasWork()) {
    const LoopTime left = deadline - loopNow();
    if (left <= 0) break;
    InlineDrain local;
    LoopOwnership::noteThatThisThreadLeads(wait.willWaitAgain());
    if (!turn(left)) continue;
    // What the turn finished runs on this thread, but the loop must not stand still for long meanwhile.
    ownership_.disown(hasWork(), LoopOwnership::Successor::leader);
    local.run();
    if (!ownership_.tryOwn()) return wait.isDone();
  }
  ownership_.disown(hasWork(),
                    wait.willWaitAgain() ? LoopOwnership::Successor::leader : LoopOwnership::Successor::networkThread);
  return wait.isDone();
}

void NetworkLoop::add(Ticker& ticker) { tickers_.push_back(&ticker); }

void NetworkLoop::remove(Ticker& ticker) { std::erase(tickers_, &ticker); }

int NetworkLoop::watch(int descriptor, std::uint32_t events, EventHandler& handler) {
  const auto index = static_cast<std::size_t>(descriptor);
  if (watches_.size() <= index) watches_.resize(index + 32);
  watches_[index] = {&handler, ++generation_, events};
  int error = control(EPOLL_CTL_ADD, descriptor);
  if (error == EEXIST) error = control(EPOLL_CTL_MOD, descriptor);
  if (error != 0) watches_[index] = {};
  return error;
}

int NetworkLoop::rewatch(int descriptor, std::uint32_t events) {
  Watch& watch = watches_[static_cast<std::size_t>(descriptor)];
  watch.events = events;
  int error = control(EPOLL_CTL_MOD, descriptor);
  if (error == ENOENT) {
    watch.generation = ++generation_;
    error = control(EPOLL_CTL_ADD, descriptor);
  }
  if (error != 0) watch = {};
  return error;
}

void NetworkLoop::unwatch(int descriptor) {
  watches_[static_cast<std::size_t>(descriptor)] = {};
  // It fails when the descriptor was closed before; what may be left then is found by `watchAnew`.
  ::epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr);
}

int NetworkLoop::control(int operation, int descriptor) {
  const Watch& watch = watches_[static_cast<std::size_t>(descriptor)];
  epoll_event event{};
  event.events = watch.events;
  event.data.u64 = (std::uint64_t{watch.generation} << 32) | static_cast<std::uint32_t>(descriptor);
  return ::epoll_ctl(epoll_, operation, descriptor, &event) == 0 ? 0 : errno;
}

bool NetworkLoop::isCurrent(const epoll_event& event) const {
  const auto descriptor = static_cast<std::size_t>(event.data.u64 & 0xffffffffU);
  if (static_cast<int>(descriptor) == ownership_.wakeDescriptor()) return true;
  const Watch& watch = watches_[descriptor];
  return watch.handler && watch.generation == static_cast<std::uint32_t>(event.data.u64 >> 32);
}

/// Leaves behind what is watched under no number of ours: a descriptor that was closed unknown to the loop, while
/// another process holds a copy of it. It could not be taken out, and would be reported for ever.
void NetworkLoop::watchAnew() {
  // Out of descriptors or memory: tried again at the next report.
  const FileDescriptor fresh(::epoll_create1(EPOLL_CLOEXEC));
  if (!fresh.isOpen() || !watchWake(fresh.number())) return;
  ::dup3(fresh.number(), epoll_, O_CLOEXEC);
  for (std::size_t i = 0; i < watches_.size(); ++i) {
    if (!watches_[i].handler) continue;
    if (control(EPOLL_CTL_ADD, static_cast<int>(i)) != 0) watches_[i] = {};
  }
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
  const bool sleeps = budget != 0 && ownership_.beginSleep();
  // Also before commands that wait already: what happened to idle connections must be known when they are chosen.
  const LoopTime begin = sleeps ? loopNow() : 0;
  std::array<epoll_event, 128> events;
  const int count = ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), sleeps ? budget : 0);
  if (sleeps) ownership_.endSleep();
  now_ = loopNow();
  for (std::size_t i = 0; sleeps && i < tickers_.size(); ++i) tickers_[i]->slept(now_ - begin);
  if (count > 0) handle(events.data(), count);
  runCommands();
  tick();
  return flushDeliveries();
}

void NetworkLoop::runCommands() {
  if (!ownership_.takeCommands(commands_)) return;
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
  const bool isClean =
      std::all_of(events, events + count, [this](const epoll_event& event) { return isCurrent(event); });
  if (!isClean) watchAnew();
  for (int i = 0; i < count; ++i) {
    const int descriptor = static_cast<int>(events[i].data.u64 & 0xffffffffU);
    if (descriptor == ownership_.wakeDescriptor()) {
      ownership_.clearWake();
    } else if (isCurrent(events[i])) {
      // It may be no more: an earlier event of this batch may have closed it, and a new socket may bear its number.
      watches_[static_cast<std::size_t>(descriptor)].handler->ready(descriptor, events[i].events);
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
