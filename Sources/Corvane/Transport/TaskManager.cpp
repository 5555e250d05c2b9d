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
  std::unordered_map<UUID, std::vector<std::stop_source>> sends;
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
    // First: they are to know of it when the task ends.
    if (const auto entry = table->sends.find(uuid); entry != table->sends.end()) {
      for (auto& stop : entry->second) stop.request_stop();
    }
    if (auto entry = table->tasks.extract(uuid)) entry.mapped()();
  });
}

void TaskManager::insertSend(std::stop_source stop, UUID uuid) {
  table_->isolationQueue.async([table = table_.get(), uuid, stop = std::move(stop)]() mutable {
    table->sends[uuid].push_back(std::move(stop));
  });
}

void TaskManager::removeSend(std::stop_source stop, UUID uuid) {
  requiringMemory("the register of tasks cannot forget a send", [&] {
    table_->isolationQueue.async([table = table_.get(), uuid, stop = std::move(stop)] {
      const auto entry = table->sends.find(uuid);
      if (entry == table->sends.end()) return;
      std::erase(entry->second, stop);
      if (entry->second.empty()) table->sends.erase(entry);
    });
  });
}

}  // namespace corvane
