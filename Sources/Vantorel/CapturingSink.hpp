#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Vantorel/LogRecord.hpp"
#include "Vantorel/LogSink.hpp"

namespace vantorel {

/// Keeps every record, for tests. Thread-safe.
class CORVANE_API CapturingSink final : public LogSink {
 public:
  /// A sink without records.
  CapturingSink();
  ~CapturingSink() override;

  void write(const LogRecord& record) override;

  /// All records so far, in the order in which they were written.
  std::vector<LogRecord> records() const;
  /// Blocks until a record satisfies the predicate, and returns the first such record, which may be an earlier one;
  /// absent when the limit passed first. The predicate must not log.
  std::optional<LogRecord> waitFor(const std::function<bool(const LogRecord&)>& predicate,
                                   platform::Seconds limit = platform::Seconds(10)) const;
  /// Discards all records so far.
  void clear();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vantorel
