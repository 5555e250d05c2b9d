#pragma once

#include <memory>
#include <optional>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform {

class URLSessionTask;

/// Is told what a task does, while it does it. Called on the session's delegate queue, in the order in which things
/// happen. Must not throw.
///
///     class Counter : public URLSessionTaskObserver {
///       void taskStarted(const URLSessionTask&) override { ++started; }
///       void taskReceived(const URLSessionTask&, const std::shared_ptr<const HTTPURLResponse>&) override {}
///       void taskEnded(const URLSessionTask&, const std::optional<Error>& error) override { failed += error ? 1 : 0; }
///       int started = 0, failed = 0;
///     };
class CORVANE_API URLSessionTaskObserver {
 public:
  virtual ~URLSessionTaskObserver();

  /// Once, first: the task is about to do its work.
  virtual void taskStarted(const URLSessionTask& task) = 0;
  /// For each final head over HTTP, those of redirects included.
  virtual void taskReceived(const URLSessionTask& task, const std::shared_ptr<const HTTPURLResponse>& response) = 0;
  /// Once, last: `task.metrics()` has the whole. Right before the completion is called. The completion of a stream task
  /// was called when its head arrived; its end is told when the body has arrived, or was given up.
  virtual void taskEnded(const URLSessionTask& task, const std::optional<Error>& error) = 0;
};

/// Decides who is told of the tasks of a session.
///
///     class Observer : public URLSessionObserver {
///       std::shared_ptr<URLSessionTaskObserver> observerOf(const URLSessionTask& task) override {
///         return task.originalRequest().httpMethod == "GET" ? counter : nullptr;
///       }
///       std::shared_ptr<URLSessionTaskObserver> counter = std::make_shared<Counter>();
///     };
class CORVANE_API URLSessionObserver {
 public:
  virtual ~URLSessionObserver();

  /// Who is told of a task that is about to begin; null: nobody. Called once for each task over http or https that is
  /// not refused before, on the thread of the network loop: it must be quick.
  virtual std::shared_ptr<URLSessionTaskObserver> observerOf(const URLSessionTask& task) = 0;
};

}  // namespace platform
