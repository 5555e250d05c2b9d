#include "CorvaneTesting/Internal/AnswerBook.hpp"

#include <string_view>
#include <utility>

#include "CorvaneTesting/Internal/AnswerScript.hpp"

namespace corvane::testing::detail {

namespace {

bool matches(std::string_view pattern, std::string_view path) {
  if (pattern.empty() || pattern.back() != '*') return pattern == path;
  pattern.remove_suffix(1);
  return path.substr(0, pattern.size()) == pattern;
}

}  // namespace

void AnswerBook::enqueue(Answer answer) {
  const std::lock_guard lock(mutex_);
  queue_.push_back(std::move(answer));
}

void AnswerBook::handle(std::string path, Handler handler) {
  const std::lock_guard lock(mutex_);
  std::erase_if(routes_, [&](const Route& route) { return route.path == path; });
  routes_.push_back({std::move(path), std::move(handler)});
}

void AnswerBook::handleAll(Handler handler) {
  const std::lock_guard lock(mutex_);
  catchAll_ = std::move(handler);
}

std::size_t AnswerBook::remaining() const {
  const std::lock_guard lock(mutex_);
  return queue_.size();
}

const AnswerBook::Route* AnswerBook::routeFor(const std::string& path) const {
  const Route* best = nullptr;
  for (const Route& route : routes_) {
    if (route.path == path) return &route;
    if (matches(route.path, path) && (!best || route.path.size() > best->path.size())) best = &route;
  }
  return best;
}

template <class Condition>
std::optional<Answer> AnswerBook::takeFrontIf(Condition condition) {
  if (queue_.empty() || !condition(queue_.front())) return std::nullopt;
  Answer answer = std::move(queue_.front());
  queue_.pop_front();
  return answer;
}

std::optional<Answer> AnswerBook::takeForNewConnection() {
  const std::lock_guard lock(mutex_);
  return takeFrontIf([](const Answer& answer) {
    return ScriptWriter::actsAt(answer, Moment::onAccept) || ScriptWriter::actsAt(answer, Moment::afterHandshake);
  });
}

std::optional<Answer> AnswerBook::takeBeforeBody(const ReceivedRequest& request) {
  const std::lock_guard lock(mutex_);
  if (routeFor(request.path())) return std::nullopt;
  return takeFrontIf([](const Answer& answer) { return ScriptWriter::actsBeforeBodyIsRead(answer); });
}

std::optional<Answer> AnswerBook::takeQueued(const ReceivedRequest& request) {
  const std::lock_guard lock(mutex_);
  if (routeFor(request.path())) return std::nullopt;
  return takeFrontIf([](const Answer&) { return true; });
}

std::optional<Answer> AnswerBook::take(const ReceivedRequest& request) {
  Handler handler;
  {
    const std::lock_guard lock(mutex_);
    if (const Route* route = routeFor(request.path())) {
      handler = route->handler;
    } else if (auto answer = takeFrontIf([](const Answer&) { return true; })) {
      return answer;
    } else {
      handler = catchAll_;
    }
  }
  if (!handler) return std::nullopt;
  return handler(request);
}

}  // namespace corvane::testing::detail
