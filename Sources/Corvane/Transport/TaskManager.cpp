#include "Corvane/Transport/TaskManager.hpp"

#include <unordered_map>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {

using platform::URLSessionTask;
using platform::UUID;

struct TaskManager::Table {
  /// The only place where `tasks` is touched.
  platform::DispatchQueue isolationQueue{"org.corvane.Corvane.TaskManager.isolationQueue"};
  std::unordered_map<UUID, std::shared_ptr<URLSessionTask>> tasks;
};

TaskManager::TaskManager() : table_(std::make_unique<Table>()) {}
TaskManager::~TaskManager() = default;

TaskManager& TaskManager::shared() {
  static TaskManager& manager = *new TaskManager;
  return manager;
}

void TaskManager::insert(std::shared_ptr<URLSessionTask> task, UUID uuid) {
  table_->isolationQueue.async(
      [table = table_.get(), uuid, task = std::move(task)]() mutable { table->tasks[uuid] = std::move(task); });
}

void TaskManager::removeTask(UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid] { table->tasks.erase(uuid); });
}

void TaskManager::cancelTask(UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid] {
    if (auto entry = table->tasks.extract(uuid)) entry.mapped()->cancel();
  });
}

}  // namespace corvane
