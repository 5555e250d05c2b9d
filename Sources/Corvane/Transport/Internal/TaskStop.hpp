#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

#include "Platform/Loading/URLSession.hpp"

namespace corvane::detail {

/// Cancels a task when a stop is requested.
class TaskStop {
 public:
  // In two steps: the completion of a task destroys the callback, so nothing may cancel the task before that is made.

  /// Before anyone else knows of the task. Does not cancel it yet.
  void watch(const std::stop_token& stop, std::shared_ptr<platform::URLSessionTask> task) {
    if (!stop.stop_possible()) return;
    task_ = std::move(task);
    isReady_ = false;
    callback_.emplace(stop, Cancel{this});
  }
  /// From now on. The task may complete, and `end` be called, before this returns.
  void begin(const std::stop_token& stop, platform::URLSessionTask& task) {
    if (!stop.stop_possible()) return;
    isReady_ = true;
    if (stop.stop_requested()) task.cancel();
  }
  /// Not any more. Waits for a cancellation under way on another thread, which is short.
  void end() {
    callback_.reset();
    task_.reset();
  }

 private:
  struct Cancel {
    void operator()() const noexcept {
      if (self->isReady_) self->task_->cancel();
    }

    TaskStop* self;
  };

  std::shared_ptr<platform::URLSessionTask> task_;
  std::atomic<bool> isReady_ = false;
  std::optional<std::stop_callback<Cancel>> callback_;
};

}  // namespace corvane::detail
