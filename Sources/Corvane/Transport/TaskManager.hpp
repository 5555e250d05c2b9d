#pragma once

#include <memory>
#include <stop_token>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace platform {
class URLSessionTask;
}

namespace corvane {

/// The register of the process's tasks under way, by the UUID of their requests. It makes it possible to cancel a
/// request after it was sent.
///
/// Every operation returns at once; it takes effect on one serial queue, in the order of the calls. May be used on any
/// thread.
///
///     TaskManager::shared().cancelTask(request.uuid);  // what request.cancel() does
class CORVANE_API TaskManager {
 public:
  /// The one instance.
  static TaskManager& shared();
  TaskManager(const TaskManager&) = delete;
  TaskManager& operator=(const TaskManager&) = delete;

  /// Registers a task. A task that is registered under the same UUID is unregistered, not cancelled.
  void insert(std::shared_ptr<platform::URLSessionTask> task, platform::UUID uuid);
  /// The same for work other than a task: `cancel` is called, on the manager's queue, to cancel the work.
  void insert(platform::Block cancel, platform::UUID uuid);
  /// Unregisters the task, if there is one. The task keeps running.
  void removeTask(platform::UUID uuid);
  /// Requests the stop of the sends; then forgets the task and cancels it, if there is one.
  void cancelTask(platform::UUID uuid);

  /// Registers a send that goes on between tasks, as one that retries: `cancelTask` requests its stop, on the manager's
  /// queue. Any number of them may share a UUID, beside a task.
  void insertSend(std::stop_source stop, platform::UUID uuid);
  /// Forgets that one.
  void removeSend(std::stop_source stop, platform::UUID uuid);

 private:
  TaskManager();
  ~TaskManager();

  struct Table;
  const std::unique_ptr<Table> table_;
};

}  // namespace corvane
