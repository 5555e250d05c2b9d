#include "Platform/Dispatch/DispatchQueue.hpp"

#include "Platform/Dispatch/Internal/Clock.hpp"
#include "Platform/Dispatch/Internal/ExecutorQueueCore.hpp"
#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Dispatch/Internal/GlobalQueueCore.hpp"
#include "Platform/Dispatch/Internal/MainQueueCore.hpp"
#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"
#include "Platform/Trap.hpp"

namespace platform {
namespace {

detail::MainQueueCore& mainQueue(const DispatchQueue& queue, const char* function) {
  auto& main = detail::MainQueueCore::shared();
  if (queue.core().get() != &main) {
    trap(std::string(function) + " is for the main queue only, but was called on the queue \"" + queue.label() + "\".");
  }
  return main;
}

}  // namespace

DispatchQueue::DispatchQueue(std::string label) : core_(std::make_shared<detail::SerialQueueCore>(std::move(label))) {}

DispatchQueue::DispatchQueue(std::string label, Executor executor)
    : core_(std::make_shared<detail::ExecutorQueueCore>(std::move(label), std::move(executor))) {}

DispatchQueue DispatchQueue::main() { return DispatchQueue(detail::MainQueueCore::shared().handle()); }

DispatchQueue DispatchQueue::global() { return DispatchQueue(detail::GlobalQueueCore::shared().handle()); }

std::optional<DispatchQueue> DispatchQueue::current() {
  auto* const queue = detail::QueueFrame::current();
  if (!queue) return std::nullopt;
  return DispatchQueue(queue->handle());
}

bool DispatchQueue::isCurrent() const { return detail::QueueFrame::contains(*core_); }

const std::string& DispatchQueue::label() const { return core_->label(); }

void DispatchQueue::async(Block block) const {
  detail::ForkGuard::requireThreads();
  core_->async(std::move(block));
}

void DispatchQueue::async(std::vector<Block> blocks) const {
  detail::ForkGuard::requireThreads();
  core_->async(std::move(blocks));
}

void DispatchQueue::asyncAfter(Seconds delay, Block block) const {
  detail::ForkGuard::requireThreads();
  if (!(delay.count() > 0)) return core_->async(std::move(block));
  detail::Clock::current()->scheduleAfter(
      detail::Clock::nanoseconds(delay),
      [core = core_, block = std::move(block)]() mutable { core->async(std::move(block)); });
}

void DispatchQueue::syncErased(void* object, void (*call)(void*)) const {
  detail::ForkGuard::requireThreads();
  // The function may drop the handle that it was called through.
  const auto core = core_;
  core->sync(object, call);
}

void DispatchQueue::run() const { mainQueue(*this, "run").run(); }

std::size_t DispatchQueue::runOnce() const { return mainQueue(*this, "runOnce").runOnce(); }

bool DispatchQueue::runUntilErased(void* object, bool (*isDone)(void*), Seconds timeout) const {
  return mainQueue(*this, "runUntil").runUntil(object, isDone, timeout);
}

void DispatchQueue::stop() const { mainQueue(*this, "stop").stop(); }

void DispatchQueue::attachToHost(UniqueFunction<void()> schedule) const {
  mainQueue(*this, "attachToHost").attachToHost(std::move(schedule));
}

}  // namespace platform
