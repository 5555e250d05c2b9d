#include "CorvaneTesting/Latch.hpp"

#include "CorvaneTesting/Internal/Event.hpp"

namespace corvane::testkit {

struct Latch::State {
  detail::Event event;
};

Latch::Latch() : state_(std::make_shared<State>()) {}

void Latch::open() const { state_->event.raise(); }

bool Latch::isOpen() const { return state_->event.isRaised(); }

int Latch::descriptor() const { return state_->event.descriptor(); }

}  // namespace corvane::testkit
