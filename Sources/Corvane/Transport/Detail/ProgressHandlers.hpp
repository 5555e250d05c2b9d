#pragma once

#include <memory>
#include <optional>

#include "Corvane/Transport/HTTPProgress.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

/// The progress handlers of a future. Thread-safe.
class CORVANE_API ProgressHandlers {
 public:
  /// Where a future keeps them.
  static constexpr const char* memberName = "_progressHandlers";

  ProgressHandlers();
  ~ProgressHandlers();
  ProgressHandlers(const ProgressHandlers&) = delete;
  ProgressHandlers& operator=(const ProgressHandlers&) = delete;

  void append(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler);
  bool isEmpty() const;
  /// Calls all that are there by then, in the order in which they came, each on its own queue.
  void call(const HTTPProgress& progress) const;
  /// The future is about to be completed: releases all handlers, and those that are added later.
  void end();

 private:
  struct List;
  const std::unique_ptr<List> list_;
};

}  // namespace corvane::detail
