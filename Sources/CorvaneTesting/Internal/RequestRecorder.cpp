#include "CorvaneTesting/Internal/RequestRecorder.hpp"

#include <utility>

namespace corvane::testkit::detail {

using platform::detail::MutexLock;

template <class Change>
void RequestRecorder::note(Change change) {
  {
    const MutexLock lock(mutex_);
    change();
    ++generation_;
  }
  changed_.notifyAll();
}

template <class Read>
auto RequestRecorder::look(Read read) const {
  const MutexLock lock(mutex_);
  return read();
}

int RequestRecorder::connectionOpened() {
  int number = 0;
  note([&]() CORVANE_REQUIRES(mutex_) {
    number = ++opened_;
    open_.insert(number);
    ConnectionRecord record;
    record.number = number;
    if (keeps_) connections_.push_back(std::move(record));
  });
  return number;
}

void RequestRecorder::updateConnection(int number, const std::function<void(ConnectionRecord&)>& change) {
  note([&]() CORVANE_REQUIRES(mutex_) {
    const auto index = static_cast<std::size_t>(number - 1);
    if (index < connections_.size()) change(connections_[index]);
  });
}

void RequestRecorder::connectionClosed(int number) {
  updateConnection(number, [](ConnectionRecord& record) { record.isOpen = false; });
  note([&]() CORVANE_REQUIRES(mutex_) { open_.erase(number); });
}

void RequestRecorder::headArrived() {
  note([&]() CORVANE_REQUIRES(mutex_) { ++heads_; });
}

void RequestRecorder::bodyBytesArrived(std::uint64_t count) {
  note([&]() CORVANE_REQUIRES(mutex_) { bodyBytes_ += count; });
}

void RequestRecorder::requestArrived(const ReceivedRequest& request) {
  updateConnection(request.connectionNumber, [](ConnectionRecord& record) { ++record.requestCount; });
  note([&]() CORVANE_REQUIRES(mutex_) {
    ++requestCount_;
    if (keeps_) requests_.push_back(request);
  });
}

void RequestRecorder::failed(std::string what) {
  note([&]() CORVANE_REQUIRES(mutex_) { failures_.push_back(std::move(what)); });
}

void RequestRecorder::idleChanged(int change) {
  note([&]() CORVANE_REQUIRES(mutex_) { idle_ += change; });
}

void RequestRecorder::standstillChanged(int change) {
  note([&]() CORVANE_REQUIRES(mutex_) { standstills_ += change; });
}

void RequestRecorder::keepNothing() {
  note([&]() CORVANE_REQUIRES(mutex_) { keeps_ = false; });
}

int RequestRecorder::connectionCount() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return opened_; });
}

int RequestRecorder::openConnections() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return static_cast<int>(open_.size()); });
}

bool RequestRecorder::isOpen(int number) const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return open_.contains(number); });
}

int RequestRecorder::idleConnections() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return idle_; });
}

int RequestRecorder::standstills() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return standstills_; });
}

int RequestRecorder::headCount() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return heads_; });
}

int RequestRecorder::requestCount() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return requestCount_; });
}

std::uint64_t RequestRecorder::bodyBytes() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return bodyBytes_; });
}

std::vector<ConnectionRecord> RequestRecorder::connections() const {
  return look([&]() CORVANE_REQUIRES(mutex_) {
    return std::vector<ConnectionRecord>(connections_.begin(), connections_.end());
  });
}

std::vector<ReceivedRequest> RequestRecorder::requests() const {
  return look(
      [&]() CORVANE_REQUIRES(mutex_) { return std::vector<ReceivedRequest>(requests_.begin(), requests_.end()); });
}

std::vector<std::string> RequestRecorder::failures() const {
  return look([&]() CORVANE_REQUIRES(mutex_) { return failures_; });
}

std::vector<std::string> RequestRecorder::takeFailures() {
  return look([&]() CORVANE_REQUIRES(mutex_) { return std::exchange(failures_, {}); });
}

std::optional<ReceivedRequest> RequestRecorder::takeRequest(Milliseconds limit) {
  const MutexLock lock(mutex_);
  if (!changed_.waitUntil(mutex_, std::chrono::steady_clock::now() + limit,
                          [&]() CORVANE_REQUIRES(mutex_) { return taken_ < requests_.size(); }))
    return std::nullopt;
  return requests_[taken_++];
}

bool RequestRecorder::waitUntil(const std::function<bool()>& predicate, Milliseconds limit) const {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const std::uint64_t seen = look([&]() CORVANE_REQUIRES(mutex_) { return generation_; });
    if (predicate()) return true;
    MutexLock lock(mutex_);
    if (!changed_.waitUntil(mutex_, deadline, [&]() CORVANE_REQUIRES(mutex_) { return generation_ != seen; })) {
      lock.unlock();
      return predicate();
    }
  }
}

}  // namespace corvane::testkit::detail
