#include "TestSupport/NetworkTime.hpp"

#include <future>

#include "Platform/Networking/Loop/NetworkLoop.hpp"

namespace corvane::testkit {

void NetworkTime::settle() const {
  auto& loop = platform::networking::NetworkLoop::shared().loop();
  // An iteration handles events, then commands, then timers: when a second command runs, an iteration is complete. Long
  // bodies take several, and leave something deferred after each.
  for (int quietIterations = 0; quietIterations < 2;) {
    std::promise<bool> isQuiet;
    loop.post([&] { isQuiet.set_value(!loop.hasDeferred()); });
    quietIterations = isQuiet.get_future().get() ? quietIterations + 1 : 0;
  }
}

void NetworkTime::pass(Duration duration) {
  settle();
  clock_.advance(duration);
  settle();
}

}  // namespace corvane::testkit
