#include "TestSupport/NetworkTime.hpp"

#include <future>

#include "Platform/Networking/Loop/NetworkLoop.hpp"

namespace corvane::testing {

void NetworkTime::settle() const {
  // An iteration handles events, then commands, then timers: when a second command runs, an iteration is complete.
  for (int i = 0; i < 2; ++i) {
    std::promise<void> ran;
    platform::networking::NetworkLoop::shared().loop().post([&ran] { ran.set_value(); });
    ran.get_future().get();
  }
}

void NetworkTime::pass(Duration duration) {
  settle();
  clock_.advance(duration);
  settle();
}

}  // namespace corvane::testing
