#include "Corvane/Transport/TaskManager.hpp"

#include <unordered_map>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {

using platform::Block;
using platform::URLSessionTask;
using platform::UUID;

struct TaskManager::Table {
  /// The only place where the rest is touched.
  platform::DispatchQueue isolationQueue{"org.corvane.Corvane.TaskManager.isolationQueue"};
  /// What cancels each task.
  std::unordered_map<UUID, Block> tasks;
  std::unordered_multimap<UUID, std::shared_ptr<Block>> handlers;
};

TaskManager::TaskManager() : table_(std::make_unique<Table>()) {}
TaskManager::~TaskManager() = default;

TaskManager& TaskManager::shared() {
  static TaskManager& manager = *new TaskManager;
  return manager;
}

void TaskManager::insert(std::shared_ptr<URLSessionTask> task, UUID uuid) {
  insert([task = std::move(task)] { task->cancel(); }, uuid);
}

void TaskManager::insert(Block cancel, UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid, cancel = std::move(cancel)]() mutable {
    table->tasks.insert_or_assign(uuid, std::move(cancel));
  });
}

void TaskManager::removeTask(UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid] { table->tasks.erase(uuid); });
}

void TaskManager::cancelTask(UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid] {
    if (auto entry = table->tasks.extract(uuid)) entry.mapped()();
    const auto [first, last] = table->handlers.equal_range(uuid);
    for (auto entry = first; entry != last; ++entry) (*entry->second)();
  });
}

void TaskManager::addCancellationHandler(std::shared_ptr<Block> handler, UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid, handler = std::move(handler)]() mutable {
    table->handlers.emplace(uuid, std::move(handler));
  });
}

void TaskManager::removeCancellationHandler(std::shared_ptr<Block> handler, UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid, handler = std::move(handler)] {
    const auto [first, last] = table->handlers.equal_range(uuid);
    for (auto entry = first; entry != last; ++entry) {
      if (entry->second != handler) continue;
      table->handlers.erase(entry);
      return;
    }
  });
}

}  // namespace corvane
