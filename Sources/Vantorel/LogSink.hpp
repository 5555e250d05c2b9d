#pragma once

#include <memory>

#include "Platform/Export.hpp"

namespace vantorel {

struct LogRecord;

/// Where log records go.
class CORVANE_API LogSink {
 public:
  LogSink() = default;
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;
  virtual ~LogSink();

  /// Called on the thread that logs, for several threads at once.
  virtual void write(const LogRecord& record) = 0;
};

/// Replaces the sink of the whole process; null brings back the default one, which writes readable text to
/// standard error. Records being written meanwhile may still reach the sink that was replaced.
CORVANE_API void setLogSink(std::shared_ptr<LogSink> sink);
/// Whether nobody has set a sink, so that records go to standard error.
CORVANE_API bool isLogSinkDefault();
/// The sink in use.
CORVANE_API std::shared_ptr<LogSink> logSink();

}  // namespace vantorel
