#include "Platform/Dispatch/Internal/GlobalQueueCore.hpp"

namespace platform::detail {
namespace {

/// A pointer that owns nothing, since the queue is never destroyed: copying it touches no shared counter.
template <class T>
std::shared_ptr<T> unowned(T* object) {
  return std::shared_ptr<T>(std::shared_ptr<void>(), object);
}

}  // namespace

GlobalQueueCore& GlobalQueueCore::shared() {
  static auto& queue = *new GlobalQueueCore;
  return queue;
}

GlobalQueueCore::GlobalQueueCore() : QueueCore("corvane.global"), threadName_(label()) {}

void GlobalQueueCore::async(Block&& block) {
  WorkerPool::shared().submit({unowned<PoolClient>(this), std::move(block)});
}

void GlobalQueueCore::async(std::vector<Block>&& blocks) {
  WorkerPool::shared().submit(unowned<PoolClient>(this), std::move(blocks));
}

void GlobalQueueCore::sync(void* object, void (*call)(void*)) {
  const QueueFrame frame(*this);
  call(object);
}

std::shared_ptr<QueueCore> GlobalQueueCore::handle() { return unowned<QueueCore>(this); }

void GlobalQueueCore::work(Block& block) {
  const QueueFrame frame(*this);
  performAndDrop(block);
}

}  // namespace platform::detail
