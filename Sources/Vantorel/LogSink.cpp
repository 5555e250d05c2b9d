#include "Vantorel/LogSink.hpp"

#include <mutex>
#include <utility>

#include "Vantorel/Internal/StandardErrorSink.hpp"

namespace vantorel {

namespace {

struct CurrentSink {
  std::mutex mutex;
  std::shared_ptr<LogSink> sink;

  static CurrentSink& shared() {
    static CurrentSink& current = *new CurrentSink;
    return current;
  }
};

}  // namespace

LogSink::~LogSink() = default;

void setLogSink(std::shared_ptr<LogSink> sink) {
  auto& current = CurrentSink::shared();
  const std::lock_guard lock(current.mutex);
  // The old sink leaves in `sink`, after the mutex is released: it may log while it goes.
  current.sink.swap(sink);
}

std::shared_ptr<LogSink> logSink() {
  auto& current = CurrentSink::shared();
  const std::lock_guard lock(current.mutex);
  if (!current.sink) current.sink = internal::makeStandardErrorSink();
  return current.sink;
}

}  // namespace vantorel
