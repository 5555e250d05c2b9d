#include "Vantorel/LogSink.hpp"

#include <string>
#include <string_view>
#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchHint.hpp"
#include "Vantorel/Internal/StandardErrorSink.hpp"
#include "Vantorel/LogRecord.hpp"
#include "Vantorel/Logger.hpp"

namespace vantorel {

using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

struct CurrentSink {
  Mutex mutex;
  const std::shared_ptr<LogSink> standard = detail::makeStandardErrorSink();
  std::shared_ptr<LogSink> own CORVANE_GUARDED_BY(mutex);  ///< null: nobody has set one

  static CurrentSink& shared() {
    static CurrentSink& current = *new CurrentSink;
    return current;
  }
};

/// Hints of queues are for readers of the log.
void logHint(std::string_view hint) {
  static const Logger& logger = *new Logger("org.corvane.Dispatch", [](const LogRecord&) { return true; });
  logger.error(std::string(hint));
}

}  // namespace

LogSink::~LogSink() = default;

void setLogSink(std::shared_ptr<LogSink> sink) {
  auto& current = CurrentSink::shared();
  if (sink == current.standard) sink = nullptr;
  platform::setDispatchHintHandler(sink ? &logHint : nullptr);
  const MutexLock lock(current.mutex);
  // The old sink leaves in `sink`, after the mutex is released: it may log while it goes.
  current.own.swap(sink);
}

bool isLogSinkDefault() {
  auto& current = CurrentSink::shared();
  const MutexLock lock(current.mutex);
  return !current.own;
}

std::shared_ptr<LogSink> logSink() {
  auto& current = CurrentSink::shared();
  const MutexLock lock(current.mutex);
  return current.own ? current.own : current.standard;
}

}  // namespace vantorel
