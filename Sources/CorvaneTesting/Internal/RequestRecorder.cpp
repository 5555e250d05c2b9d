#include "CorvaneTesting/Internal/RequestRecorder.hpp"

#include <utility>

namespace corvane::testing::detail {

template <class Change>
void RequestRecorder::note(Change change) {
  {
    const std::lock_guard lock(mutex_);
    change();
    ++generation_;
  }
  changed_.notify_all();
}

template <class Read>
auto RequestRecorder::look(Read read) const {
  const std::lock_guard lock(mutex_);
  return read();
}

int RequestRecorder::connectionOpened() {
  int number = 0;
  note([&] {
    number = ++opened_;
    open_.insert(number);
    ConnectionRecord record;
    record.number = number;
    if (keeps_) connections_.push_back(std::move(record));
  });
  return number;
}

void RequestRecorder::updateConnection(int number, const std::function<void(ConnectionRecord&)>& change) {
  note([&] {
    const auto index = static_cast<std::size_t>(number - 1);
    if (index < connections_.size()) change(connections_[index]);
  });
}

void RequestRecorder::connectionClosed(int number) {
  updateConnection(number, [](ConnectionRecord& record) { record.isOpen = false; });
  note([&] { open_.erase(number); });
}

void RequestRecorder::headArrived() {
  note([&] { ++heads_; });
}

void RequestRecorder::bodyBytesArrived(std::uint64_t count) {
  note([&] { bodyBytes_ += count; });
}

void RequestRecorder::requestArrived(const ReceivedRequest& request) {
  updateConnection(request.connectionNumber, [](ConnectionRecord& record) { ++record.requestCount; });
  note([&] {
    ++requestCount_;
    if (keeps_) requests_.push_back(request);
  });
}

void RequestRecorder::failed(std::string what) {
  note([&] { failures_.push_back(std::move(what)); });
}

void RequestRecorder::idleChanged(int change) {
  note([&] { idle_ += change; });
}

void RequestRecorder::standstillChanged(int change) {
  note([&] { standstills_ += change; });
}

void RequestRecorder::keepNothing() {
  note([&] { keeps_ = false; });
}

int RequestRecorder::connectionCount() const {
  return look([&] { return opened_; });
}

int RequestRecorder::openConnections() const {
  return look([&] { return static_cast<int>(open_.size()); });
}

bool RequestRecorder::isOpen(int number) const {
  return look([&] { return open_.contains(number); });
}

int RequestRecorder::idleConnections() const {
  return look([&] { return idle_; });
}

int RequestRecorder::standstills() const {
  return look([&] { return standstills_; });
}

int RequestRecorder::headCount() const {
  return look([&] { return heads_; });
}

int RequestRecorder::requestCount() const {
  return look([&] { return requestCount_; });
}

std::uint64_t RequestRecorder::bodyBytes() const {
  return look([&] { return bodyBytes_; });
}

std::vector<ConnectionRecord> RequestRecorder::connections() const {
  return look([&] { return std::vector<ConnectionRecord>(connections_.begin(), connections_.end()); });
}

std::vector<ReceivedRequest> RequestRecorder::requests() const {
  return look([&] { return std::vector<ReceivedRequest>(requests_.begin(), requests_.end()); });
}

std::vector<std::string> RequestRecorder::failures() const {
  return look([&] { return failures_; });
}

std::vector<std::string> RequestRecorder::takeFailures() {
  return look([&] { return std::exchange(failures_, {}); });
}

std::optional<ReceivedRequest> RequestRecorder::takeRequest(Milliseconds limit) {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, limit, [&] { return taken_ < requests_.size(); })) return std::nullopt;
  return requests_[taken_++];
}

bool RequestRecorder::waitUntil(const std::function<bool()>& predicate, Milliseconds limit) const {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const std::uint64_t seen = look([&] { return generation_; });
    if (predicate()) return true;
    std::unique_lock lock(mutex_);
    if (!changed_.wait_until(lock, deadline, [&] { return generation_ != seen; })) {
      lock.unlock();
      return predicate();
    }
  }
}

}  // namespace corvane::testing::detail
