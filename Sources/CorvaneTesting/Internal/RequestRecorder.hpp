#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CorvaneTesting/ConnectionRecord.hpp"
#include "CorvaneTesting/ReceivedRequest.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane::testkit::detail {

/// Everything that happened at a server, and the place to wait for it. All members may be called from any thread.
class RequestRecorder {
 public:
  using Milliseconds = std::chrono::milliseconds;

  int connectionOpened();
  void connectionClosed(int number);
  void updateConnection(int number, const std::function<void(ConnectionRecord&)>& change);
  void headArrived();
  void bodyBytesArrived(std::uint64_t count);
  void requestArrived(const ReceivedRequest& request);
  void failed(std::string what);
  void idleChanged(int change);
  void standstillChanged(int change);
  /// Makes the recorder forget each request and connection once it is counted.
  void keepNothing();

  int connectionCount() const;
  int openConnections() const;
  bool isOpen(int number) const;
  int idleConnections() const;
  int standstills() const;
  int headCount() const;
  int requestCount() const;
  std::uint64_t bodyBytes() const;
  std::vector<ConnectionRecord> connections() const;
  std::vector<ReceivedRequest> requests() const;
  std::vector<std::string> failures() const;
  std::vector<std::string> takeFailures();

  std::optional<ReceivedRequest> takeRequest(Milliseconds limit);
  /// Asks again after every event. The predicate runs without a lock held.
  bool waitUntil(const std::function<bool()>& predicate, Milliseconds limit) const;

 private:
  template <class Change>
  void note(Change change);
  template <class Read>
  auto look(Read read) const;

  mutable platform::detail::Mutex mutex_;
  mutable platform::detail::ConditionVariable changed_;
  std::uint64_t generation_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool keeps_ CORVANE_GUARDED_BY(mutex_) = true;
  int opened_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::set<int> open_ CORVANE_GUARDED_BY(mutex_);
  int idle_ CORVANE_GUARDED_BY(mutex_) = 0;
  int standstills_ CORVANE_GUARDED_BY(mutex_) = 0;
  int heads_ CORVANE_GUARDED_BY(mutex_) = 0;
  int requestCount_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::size_t taken_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::uint64_t bodyBytes_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::deque<ConnectionRecord> connections_ CORVANE_GUARDED_BY(mutex_);
  std::deque<ReceivedRequest> requests_ CORVANE_GUARDED_BY(mutex_);
  std::vector<std::string> failures_ CORVANE_GUARDED_BY(mutex_);
};

/// While it lives, a connection does nothing until the test or the client acts.
class Standstill {
 public:
  explicit Standstill(RequestRecorder& recorder) : recorder_(recorder) { recorder_.standstillChanged(1); }
  ~Standstill() { recorder_.standstillChanged(-1); }
  Standstill(const Standstill&) = delete;
  Standstill& operator=(const Standstill&) = delete;

 private:
  RequestRecorder& recorder_;
};

}  // namespace corvane::testkit::detail
