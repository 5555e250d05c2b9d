#include "CorvaneTesting/Internal/RouteState.hpp"

#include <algorithm>
#include <utility>

namespace corvane::testkit::detail {

using platform::detail::MutexLock;

void RouteState::narrow(MockRoute::Predicate predicate) {
  const MutexLock lock(mutex_);
  predicates_.push_back(std::move(predicate));
}

void RouteState::limit(int count) {
  const MutexLock lock(mutex_);
  left_ = count;
}

void RouteState::add(std::vector<RouteResponse> responses) {
  const MutexLock lock(mutex_);
  for (RouteResponse& response : responses) responses_.push_back(std::move(response));
}

std::vector<SentRequest> RouteState::requests() const {
  const MutexLock lock(mutex_);
  return requests_;
}

bool RouteState::fits(const SentRequest& request) const {
  return (!type_ || *type_ == *request.type) && pattern_.matches(request);
}

/// The predicates are the test's: they run without the lock.
bool RouteState::isFor(const SentRequest& request) const {
  if (!fits(request)) return false;
  std::vector<MockRoute::Predicate> predicates;
  {
    const MutexLock lock(mutex_);
    predicates = predicates_;
  }
  return std::all_of(predicates.begin(), predicates.end(), [&](const auto& holds) { return holds(request); });
}

bool RouteState::hasResponse() const { return !responses_.empty() && (!left_ || *left_ > 0); }

bool RouteState::mightTake(const SentRequest& request) const {
  if (!fits(request)) return false;
  const MutexLock lock(mutex_);
  return hasResponse();
}

std::optional<RouteResponse> RouteState::take(const SentRequest& request) {
  if (!isFor(request)) return std::nullopt;
  const MutexLock lock(mutex_);
  if (!hasResponse()) return std::nullopt;
  if (left_) --*left_;
  const std::size_t place = std::min(next_, responses_.size() - 1);
  next_ = place + 1;
  return responses_[place];
}

void RouteState::responded(const SentRequest& request) {
  const MutexLock lock(mutex_);
  requests_.push_back(request);
}

}  // namespace corvane::testkit::detail
