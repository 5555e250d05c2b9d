#include "Vantorel/CapturingSink.hpp"

#include <algorithm>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/WaitDeadline.hpp"

namespace vantorel {

using platform::detail::ConditionVariable;
using platform::detail::Mutex;
using platform::detail::MutexLock;

struct CapturingSink::State {
  Mutex mutex;
  ConditionVariable arrived;
  std::vector<LogRecord> records CORVANE_GUARDED_BY(mutex);
};

CapturingSink::CapturingSink() : state_(std::make_unique<State>()) {}

CapturingSink::~CapturingSink() = default;

void CapturingSink::write(const LogRecord& record) {
  const MutexLock lock(state_->mutex);
  state_->records.push_back(record);
  state_->arrived.notifyAll();
}

std::vector<LogRecord> CapturingSink::records() const {
  const MutexLock lock(state_->mutex);
  return state_->records;
}

std::optional<LogRecord> CapturingSink::waitFor(const std::function<bool(const LogRecord&)>& predicate,
                                                platform::Seconds limit) const {
  const MutexLock lock(state_->mutex);
  std::optional<LogRecord> found;
  const auto hasArrived = [&]() CORVANE_REQUIRES(state_->mutex) {
    const auto record = std::ranges::find_if(state_->records, predicate);
    if (record != state_->records.end()) found = *record;
    return found.has_value();
  };
  platform::detail::waitUntil(state_->arrived, state_->mutex, platform::detail::WaitDeadline(limit), hasArrived);
  return found;
}

void CapturingSink::clear() {
  const MutexLock lock(state_->mutex);
  state_->records.clear();
}

}  // namespace vantorel
