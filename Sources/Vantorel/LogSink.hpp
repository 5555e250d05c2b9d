#pragma once

#include <memory>

#include "Platform/Export.hpp"

namespace vantorel {

struct LogRecord;

/// Receives log records.
class CORVANE_API LogSink {
 public:
  LogSink() = default;
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;
  virtual ~LogSink();

  /// Writes a record. Called on the thread that logs, possibly on several threads at once.
  virtual void write(const LogRecord& record) = 0;
};

/// Replaces the sink of the whole process; null restores the default sink, which writes readable text to standard
/// error. Records that are being written meanwhile may still reach the previous sink.
CORVANE_API void setLogSink(std::shared_ptr<LogSink> sink);
/// Whether the default sink is in use, so that records go to standard error.
CORVANE_API bool isLogSinkDefault();
/// The sink in use.
CORVANE_API std::shared_ptr<LogSink> logSink();

}  // namespace vantorel
