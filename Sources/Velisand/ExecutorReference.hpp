#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace velisand {

/// A callback together with its queue; an absent queue means the main queue.
template <class T>
class ExecutorReference {
 public:
  /// Requires: the callback is not empty.
  ExecutorReference(std::optional<platform::DispatchQueue> queue, std::function<void(T)> callback)
      : queue_(std::move(queue)), callback_(std::move(callback)) {}

  /// Calls the callback with the value, asynchronously on the queue, once for each `execute`. May be called on any
  /// thread.
  void execute(T value) const {
    async(queue_, [callback = callback_, value = std::move(value)]() mutable { callback(std::move(value)); });
  }

  /// Absent: the main queue.
  const std::optional<platform::DispatchQueue>& queue() const { return queue_; }

 private:
  std::optional<platform::DispatchQueue> queue_;
  std::function<void(T)> callback_;
};

}  // namespace velisand
