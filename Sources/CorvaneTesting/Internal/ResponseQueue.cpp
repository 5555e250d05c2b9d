#include "CorvaneTesting/Internal/ResponseQueue.hpp"

#include <string_view>
#include <utility>

#include "CorvaneTesting/Internal/ResponseScript.hpp"

namespace corvane::testkit::detail {

using platform::detail::MutexLock;

namespace {

bool matches(std::string_view pattern, std::string_view path) {
  if (pattern.empty() || pattern.back() != '*') return pattern == path;
  pattern.remove_suffix(1);
  return path.substr(0, pattern.size()) == pattern;
}

}  // namespace

void ResponseQueue::enqueue(MockResponse response) {
  const MutexLock lock(mutex_);
  queue_.push_back(std::move(response));
}

void ResponseQueue::handle(std::string path, Handler handler) {
  const MutexLock lock(mutex_);
  std::erase_if(routes_, [&](const Route& route) { return route.path == path; });
  routes_.push_back({std::move(path), std::move(handler)});
}

void ResponseQueue::handleAll(Handler handler) {
  const MutexLock lock(mutex_);
  catchAll_ = std::move(handler);
}

std::size_t ResponseQueue::remaining() const {
  const MutexLock lock(mutex_);
  return queue_.size();
}

const ResponseQueue::Route* ResponseQueue::routeFor(const std::string& path) const {
  const Route* best = nullptr;
  for (const Route& route : routes_) {
    if (route.path == path) return &route;
    if (matches(route.path, path) && (!best || route.path.size() > best->path.size())) best = &route;
  }
  return best;
}

template <class Condition>
std::optional<MockResponse> ResponseQueue::takeFrontIf(Condition condition) {
  if (queue_.empty() || !condition(queue_.front())) return std::nullopt;
  MockResponse response = std::move(queue_.front());
  queue_.pop_front();
  return response;
}

std::optional<MockResponse> ResponseQueue::takeForNewConnection() {
  const MutexLock lock(mutex_);
  return takeFrontIf([](const MockResponse& response) {
    return ScriptWriter::actsAt(response, Moment::onAccept) || ScriptWriter::actsAt(response, Moment::afterHandshake);
  });
}

std::optional<MockResponse> ResponseQueue::takeBeforeBody(const ReceivedRequest& request) {
  const MutexLock lock(mutex_);
  if (routeFor(request.path())) return std::nullopt;
  return takeFrontIf([](const MockResponse& response) { return ScriptWriter::actsBeforeBodyIsRead(response); });
}

std::optional<MockResponse> ResponseQueue::takeQueued(const ReceivedRequest& request) {
  const MutexLock lock(mutex_);
  if (routeFor(request.path())) return std::nullopt;
  return takeFrontIf([](const MockResponse&) { return true; });
}

std::optional<MockResponse> ResponseQueue::take(const ReceivedRequest& request) {
  Handler handler;
  {
    const MutexLock lock(mutex_);
    if (const Route* route = routeFor(request.path())) {
      handler = route->handler;
    } else if (auto response = takeFrontIf([](const MockResponse&) { return true; })) {
      return response;
    } else {
      handler = catchAll_;
    }
  }
  if (!handler) return std::nullopt;
  return handler(request);
}

}  // namespace corvane::testkit::detail
