#include "CorvaneTesting/Gate.hpp"

#include "CorvaneTesting/Internal/Event.hpp"

namespace corvane::testing {

struct Gate::State {
  detail::Event event;
};

Gate::Gate() : state_(std::make_shared<State>()) {}

void Gate::open() const { state_->event.raise(); }

bool Gate::isOpen() const { return state_->event.isRaised(); }

int Gate::descriptor() const { return state_->event.descriptor(); }

}  // namespace corvane::testing
