#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/MockResponse.hpp"
#include "CorvaneTesting/ReceivedRequest.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane::testkit::detail {

/// The responses a test has scripted: routes, then the queue, then the catch-all.
class ResponseQueue {
 public:
  using Handler = std::function<MockResponse(const ReceivedRequest&)>;

  void enqueue(MockResponse response);
  void handle(std::string path, Handler handler);
  void handleAll(Handler handler);
  std::size_t remaining() const;

  /// The next response of the queue, when it has something to do before the connection's first request.
  std::optional<MockResponse> takeForNewConnection();
  /// The next response of the queue, when it is due before the request's body is read and no route is in its way.
  std::optional<MockResponse> takeBeforeBody(const ReceivedRequest& request);
  /// The next response of the queue, when no route is in its way.
  std::optional<MockResponse> takeQueued(const ReceivedRequest& request);
  /// Absent when nothing was scripted for the request.
  std::optional<MockResponse> take(const ReceivedRequest& request);

 private:
  struct Route {
    std::string path;
    Handler handler;
  };

  const Route* routeFor(const std::string& path) const CORVANE_REQUIRES(mutex_);
  template <class Condition>
  std::optional<MockResponse> takeFrontIf(Condition condition) CORVANE_REQUIRES(mutex_);

  mutable platform::detail::Mutex mutex_;
  std::deque<MockResponse> queue_ CORVANE_GUARDED_BY(mutex_);
  std::vector<Route> routes_ CORVANE_GUARDED_BY(mutex_);
  Handler catchAll_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace corvane::testkit::detail
