#pragma once

#include <memory>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace platform {
class URLSessionTask;
}

namespace corvane {

/// The process's register of tasks under way, by the UUID of the request that each serves. It lets a request
/// be cancelled after it was sent.
///
/// Every operation returns at once; its effect happens on one serial queue, in the order of the calls. Any thread.
class CORVANE_API TaskManager {
 public:
  /// The one instance.
  static TaskManager& shared();
  TaskManager(const TaskManager&) = delete;
  TaskManager& operator=(const TaskManager&) = delete;

  /// Registers a task; one that is registered under the same UUID is forgotten, not cancelled.
  void insert(std::shared_ptr<platform::URLSessionTask> task, platform::UUID uuid);
  /// The same for work that is no task: `cancel` is called, on the manager's queue, in place of cancelling one.
  void insert(platform::Block cancel, platform::UUID uuid);
  /// Forgets the task, if there is one. It keeps running.
  void removeTask(platform::UUID uuid);
  /// Calls the handlers; then forgets the task and cancels it, if there is one.
  void cancelTask(platform::UUID uuid);

  /// From now on the handler is called for each cancellation of the UUID, on the manager's queue, whether there is a
  /// task then or not; for work that goes on between tasks.
  void addCancellationHandler(std::shared_ptr<platform::Block> handler, platform::UUID uuid);
  /// From now on that handler is not called any more.
  void removeCancellationHandler(std::shared_ptr<platform::Block> handler, platform::UUID uuid);

 private:
  TaskManager();
  ~TaskManager();

  struct Table;
  const std::unique_ptr<Table> table_;
};

}  // namespace corvane
