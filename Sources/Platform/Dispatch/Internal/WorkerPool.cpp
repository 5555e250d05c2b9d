#include "Platform/Dispatch/Internal/WorkerPool.hpp"

#include <unistd.h>

#include <algorithm>
#include <thread>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Dispatch/Internal/SystemClock.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {
namespace {

constexpr std::size_t mostWorkers = 64;
constexpr Seconds longestRest = 10;
constexpr std::chrono::milliseconds progressInterval{10};

// With a single worker, any block that waits for another one would cost the progress interval.
std::size_t coreCount() { return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, mostWorkers); }

}  // namespace

thread_local WorkerPool::Worker* WorkerPool::onThisThread_ = nullptr;

WorkerPool& WorkerPool::shared() {
  static auto& pool = *new WorkerPool;
  return pool;
}

WorkerPool::WorkerPool() : cores_(coreCount()) {
  // A worker must not fail for want of a place to rest.
  idle_.reserve(mostWorkers);
  threads_.reserve(mostWorkers);
}

void WorkerPool::addQueue() {
  if (ForkGuard::isForkedChild()) return;  // who submits to it is stopped there
  const MutexLock lock(mutex_);
  jobs_.reserve(jobs_.count() + queues_ + 1);
  ++queues_;
}

/// Beside them there is room for every serial queue at any time.
void WorkerPool::makeRoom(std::size_t jobs) { jobs_.reserve(jobs_.count() + jobs + queues_); }

void WorkerPool::submitDrain(std::shared_ptr<PoolClient> queue) noexcept {
  MutexLock lock(mutex_);
  jobs_.push({std::move(queue), nullptr});
  waitingJobs_.store(jobs_.count(), std::memory_order_relaxed);
  const WakeAction action = nextWakeAction();
  lock.unlock();
  execute(action);
}

void WorkerPool::submit(PoolJob&& job) {
  MutexLock lock(mutex_);
  makeRoom(1);
  jobs_.push(std::move(job));
  waitingJobs_.store(jobs_.count(), std::memory_order_relaxed);
  const WakeAction action = nextWakeAction();
  lock.unlock();
  execute(action);
}

void WorkerPool::submit(const std::shared_ptr<PoolClient>& client, std::vector<Block>&& blocks) {
  if (blocks.empty()) return;
  MutexLock lock(mutex_);
  makeRoom(blocks.size());
  for (auto& block : blocks) jobs_.push({client, std::move(block)});
  waitingJobs_.store(jobs_.count(), std::memory_order_relaxed);
  const WakeAction action = nextWakeAction();
  lock.unlock();
  execute(action);
}

std::vector<pid_t> WorkerPool::workerThreads() {
  const MutexLock lock(mutex_);
  return threads_;
}

WorkerPool::WakeAction WorkerPool::nextWakeAction() {
  // One that is on its way finds the rest of the jobs and wakes more itself.
  if (arriving_ > claimed_) return {};
  WakeAction action;
  if (!idle_.empty()) {
    wakeOne(action);
  } else if (workers_ < cores_) {
    action.start = true;
    ++workers_;
    ++arriving_;
  } else {
    action.watch = startsWatch();
  }
  return action;
}

void WorkerPool::wakeOne(WakeAction& action) {
  action.wake = takeIdleWorker();
  ++arriving_;
  if (action.wake != onThisThread_) return;
  // What it does at the moment may wait for this very job.
  action.wake->isClaimed = true;
  ++claimed_;
  action.watch = startsWatch();
}

bool WorkerPool::startsWatch() {
  if (std::exchange(isWatched_, true)) return false;
  begunAtLastCheck_ = begun_;
  return true;
}

WorkerPool::Worker* WorkerPool::takeIdleWorker() {
  // One that drives the network has just produced this work and goes on with it. From anywhere else, another is
  // better: the network would have to wait. The one that rests for the shortest time has the warmest cache, and
  // the others get to end.
  auto place = std::find(idle_.rbegin(), idle_.rend(), onThisThread_);
  if (place == idle_.rend()) {
    place =
        std::find_if(idle_.rbegin(), idle_.rend(), [](const Worker* worker) { return !worker->woken->isDriving(); });
  }
  if (place == idle_.rend()) place = idle_.rbegin();
  Worker* const worker = *place;
  idle_.erase(std::next(place).base());
  return worker;
}

void WorkerPool::execute(const WakeAction& action) noexcept {
  if (action.wake) action.wake->woken->signal();
  if (action.start) startWorker();
  if (action.watch) watch();
}

void WorkerPool::startWorker() {
  if (startThread("corvane-worker", [this] { serve(); })) return;
  MutexLock lock(mutex_);
  --workers_;
  --arriving_;
  if (workers_ == 0) trap("No worker thread could be started: out of memory, or of threads");
  const bool watchNow = !std::exchange(isWatched_, true);
  lock.unlock();
  // The next check tries again.
  if (watchNow) watch();
}

void WorkerPool::serve() {
  Worker self;
  onThisThread_ = &self;
  bool isArriving = true;
  bool isNew = true;
  MutexLock lock(mutex_);
  threads_.push_back(::gettid());
  while (true) {
    if (std::exchange(isArriving, false)) --arriving_;
    if (std::exchange(self.isClaimed, false)) --claimed_;
    if (jobs_.isEmpty()) {
      if (!rest(self)) break;
      isArriving = true;
      continue;
    }
    PoolJob job = takeJob();
    if (!std::exchange(isNew, false)) ++begun_;
    const WakeAction action = jobs_.isEmpty() ? WakeAction() : nextWakeAction();
    lock.unlock();
    execute(action);
    job.client->threadName().apply();
    job.client->work(job.block);
    job = {};
    lock.lock();
  }
  std::erase(threads_, ::gettid());
}

PoolJob WorkerPool::takeJob() {
  PoolJob job = jobs_.pop(queues_);
  waitingJobs_.store(jobs_.count(), std::memory_order_relaxed);
  return job;
}

/// Returns true when woken, false when the worker is to end.
bool WorkerPool::rest(Worker& self) {
  self.woken.emplace(true);
  idle_.push_back(&self);
  if (waitUnlocked(*self.woken, longestRest)) return true;
  const auto place = std::find(idle_.begin(), idle_.end(), &self);
  if (place != idle_.end()) {
    idle_.erase(place);
    --workers_;
    return false;
  }
  // Someone chose this worker in the last moment and is about to wake it.
  return waitUnlocked(*self.woken, Seconds::unlimited());
}

bool WorkerPool::waitUnlocked(CooperativeWait& wait, Seconds limit) {
  const MutexUnlock unlocked(mutex_);
  return wait.wait(limit);
}

void WorkerPool::watch() {
  requiringMemory("the workers of the queues cannot be watched", [this] {
    auto& clock = SystemClock::shared();
    clock.schedule(clock.now() + progressInterval, {}, [this] { checkProgress(); });
  });
}

void WorkerPool::checkProgress() {
  MutexLock lock(mutex_);
  if (jobs_.isEmpty()) {
    isWatched_ = false;
    return;
  }
  const bool isStuck = begun_ == begunAtLastCheck_ && arriving_ == claimed_;
  begunAtLastCheck_ = begun_;
  WakeAction action;
  if (isStuck && !idle_.empty()) {
    wakeOne(action);
  } else if (isStuck && workers_ < mostWorkers) {
    action.start = true;
    ++workers_;
    ++arriving_;
  }
  action.watch = true;
  lock.unlock();
  execute(action);
}

}  // namespace platform::detail
