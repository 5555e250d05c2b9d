#include "Vantorel/CapturingSink.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vantorel {

struct CapturingSink::State {
  std::mutex mutex;
  std::condition_variable arrived;
  std::vector<LogRecord> records;
};

CapturingSink::CapturingSink() : state_(std::make_unique<State>()) {}

CapturingSink::~CapturingSink() = default;

void CapturingSink::write(const LogRecord& record) {
  const std::lock_guard lock(state_->mutex);
  state_->records.push_back(record);
  state_->arrived.notify_all();
}

std::vector<LogRecord> CapturingSink::records() const {
  const std::lock_guard lock(state_->mutex);
  return state_->records;
}

std::optional<LogRecord> CapturingSink::waitFor(const std::function<bool(const LogRecord&)>& predicate,
                                                platform::Seconds limit) const {
  std::unique_lock lock(state_->mutex);
  std::optional<LogRecord> found;
  state_->arrived.wait_for(lock, std::chrono::duration<double>(limit.count()), [&] {
    const auto record = std::ranges::find_if(state_->records, predicate);
    if (record != state_->records.end()) found = *record;
    return found.has_value();
  });
  return found;
}

void CapturingSink::clear() {
  const std::lock_guard lock(state_->mutex);
  state_->records.clear();
}

}  // namespace vantorel
