#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/Answer.hpp"
#include "CorvaneTesting/ReceivedRequest.hpp"

namespace corvane::testing::detail {

/// The answers a test has scripted: routes, then the queue, then the catch-all.
class AnswerBook {
 public:
  using Handler = std::function<Answer(const ReceivedRequest&)>;

  void enqueue(Answer answer);
  void handle(std::string path, Handler handler);
  void handleAll(Handler handler);
  std::size_t remaining() const;

  /// The next answer of the queue, when it has something to do before the connection's first request.
  std::optional<Answer> takeForNewConnection();
  /// The next answer of the queue, when it is due before the request's body is read and no route is in its way.
  std::optional<Answer> takeBeforeBody(const ReceivedRequest& request);
  /// The next answer of the queue, when no route is in its way.
  std::optional<Answer> takeQueued(const ReceivedRequest& request);
  /// Absent when nothing was scripted for the request.
  std::optional<Answer> take(const ReceivedRequest& request);

 private:
  struct Route {
    std::string path;
    Handler handler;
  };

  const Route* routeFor(const std::string& path) const;
  template <class Condition>
  std::optional<Answer> takeFrontIf(Condition condition);

  mutable std::mutex mutex_;
  std::deque<Answer> queue_;
  std::vector<Route> routes_;
  Handler catchAll_;
};

}  // namespace corvane::testing::detail
