#include "Corvane/Transport/TaskManager.hpp"

#include <unordered_map>
#include <utility>
#include <vector>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {

using platform::Block;
using platform::URLSessionTask;
using platform::UUID;
using platform::detail::requiringMemory;

struct TaskManager::Table {
  /// The only place where the rest is touched.
  platform::DispatchQueue isolationQueue{"org.corvane.Corvane.TaskManager.isolationQueue"};
  /// What cancels each task.
  std::unordered_map<UUID, Block> tasks;
  /// In the order in which they came: a retrying send within another must not hear of a cancellation first.
  std::unordered_map<UUID, std::vector<std::shared_ptr<Block>>> handlers;
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
  requiringMemory("the register of tasks cannot forget one",
                  [&] { table_->isolationQueue.async([table = table_.get(), uuid] { table->tasks.erase(uuid); }); });
}

void TaskManager::cancelTask(UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid] {
    // The handlers first: they know of it when the task ends.
    if (const auto entry = table->handlers.find(uuid); entry != table->handlers.end()) {
      for (const auto& handler : entry->second) (*handler)();
    }
    if (auto entry = table->tasks.extract(uuid)) entry.mapped()();
  });
}

void TaskManager::addCancellationHandler(std::shared_ptr<Block> handler, UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid, handler = std::move(handler)]() mutable {
    table->handlers[uuid].push_back(std::move(handler));
  });
}

void TaskManager::removeCancellationHandler(std::shared_ptr<Block> handler, UUID uuid) {
  requiringMemory("the register of tasks cannot forget a handler", [&] {
    table_->isolationQueue.async([table = table_.get(), uuid, handler = std::move(handler)] {
      const auto entry = table->handlers.find(uuid);
      if (entry == table->handlers.end()) return;
      std::erase(entry->second, handler);
      if (entry->second.empty()) table->handlers.erase(entry);
    });
  });
}

}  // namespace corvane
