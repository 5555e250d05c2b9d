#include "CorvaneTesting/Internal/Journal.hpp"

#include <utility>

namespace corvane::testing::detail {

template <class Change>
void Journal::note(Change change) {
  {
    const std::lock_guard lock(mutex_);
    change();
    ++generation_;
  }
  changed_.notify_all();
}

template <class Read>
auto Journal::look(Read read) const {
  const std::lock_guard lock(mutex_);
  return read();
}

int Journal::connectionOpened() {
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

void Journal::updateConnection(int number, const std::function<void(ConnectionRecord&)>& change) {
  note([&] {
    const auto index = static_cast<std::size_t>(number - 1);
    if (index < connections_.size()) change(connections_[index]);
  });
}

void Journal::connectionClosed(int number) {
  updateConnection(number, [](ConnectionRecord& record) { record.isOpen = false; });
  note([&] { open_.erase(number); });
}

void Journal::headArrived() {
  note([&] { ++heads_; });
}

void Journal::bodyBytesArrived(std::uint64_t count) {
  note([&] { bodyBytes_ += count; });
}

void Journal::requestArrived(const ReceivedRequest& request) {
  updateConnection(request.connectionNumber, [](ConnectionRecord& record) { ++record.requestCount; });
  note([&] {
    ++requestCount_;
    if (keeps_) requests_.push_back(request);
  });
}

void Journal::failed(std::string what) {
  note([&] { failures_.push_back(std::move(what)); });
}

void Journal::idleChanged(int change) {
  note([&] { idle_ += change; });
}

void Journal::standstillChanged(int change) {
  note([&] { standstills_ += change; });
}

void Journal::keepNothing() {
  note([&] { keeps_ = false; });
}

int Journal::connectionCount() const {
  return look([&] { return opened_; });
}

int Journal::openConnections() const {
  return look([&] { return static_cast<int>(open_.size()); });
}

bool Journal::isOpen(int number) const {
  return look([&] { return open_.contains(number); });
}

int Journal::idleConnections() const {
  return look([&] { return idle_; });
}

int Journal::standstills() const {
  return look([&] { return standstills_; });
}

int Journal::headCount() const {
  return look([&] { return heads_; });
}

int Journal::requestCount() const {
  return look([&] { return requestCount_; });
}

std::uint64_t Journal::bodyBytes() const {
  return look([&] { return bodyBytes_; });
}

std::vector<ConnectionRecord> Journal::connections() const {
  return look([&] { return std::vector<ConnectionRecord>(connections_.begin(), connections_.end()); });
}

std::vector<ReceivedRequest> Journal::requests() const {
  return look([&] { return std::vector<ReceivedRequest>(requests_.begin(), requests_.end()); });
}

std::vector<std::string> Journal::failures() const {
  return look([&] { return failures_; });
}

std::vector<std::string> Journal::takeFailures() {
  return look([&] { return std::exchange(failures_, {}); });
}

std::optional<ReceivedRequest> Journal::takeRequest(Milliseconds limit) {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, limit, [&] { return taken_ < requests_.size(); })) return std::nullopt;
  return requests_[taken_++];
}

bool Journal::waitUntil(const std::function<bool()>& predicate, Milliseconds limit) const {
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
