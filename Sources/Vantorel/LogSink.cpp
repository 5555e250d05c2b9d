#include "Vantorel/LogSink.hpp"

#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Vantorel/Internal/StandardErrorSink.hpp"

namespace vantorel {

using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

struct CurrentSink {
  Mutex mutex;
  std::shared_ptr<LogSink> sink CORVANE_GUARDED_BY(mutex);

  static CurrentSink& shared() {
    static CurrentSink& current = *new CurrentSink;
    return current;
  }
};

}  // namespace

LogSink::~LogSink() = default;

void setLogSink(std::shared_ptr<LogSink> sink) {
  auto& current = CurrentSink::shared();
  const MutexLock lock(current.mutex);
  // The old sink leaves in `sink`, after the mutex is released: it may log while it goes.
  current.sink.swap(sink);
}

std::shared_ptr<LogSink> logSink() {
  auto& current = CurrentSink::shared();
  const MutexLock lock(current.mutex);
  if (!current.sink) current.sink = detail::makeStandardErrorSink();
  return current.sink;
}

}  // namespace vantorel
