#include "CorvaneTesting/MockRoute.hpp"

#include <utility>

#include "CorvaneTesting/Internal/RouteState.hpp"

namespace corvane::testkit {

MockRoute& MockRoute::when(Predicate predicate) {
  state_->narrow(std::move(predicate));
  return *this;
}

MockRoute& MockRoute::times(int count) {
  state_->limit(count);
  return *this;
}

MockRoute& MockRoute::add(std::vector<Response> responses) {
  state_->add(std::move(responses));
  return *this;
}

int MockRoute::count() const { return static_cast<int>(requests().size()); }

std::vector<SentRequest> MockRoute::requests() const { return state_->requests(); }

}  // namespace corvane::testkit
