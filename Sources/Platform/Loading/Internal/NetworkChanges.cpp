#include "Platform/Loading/Internal/NetworkChanges.hpp"

#include <utility>

namespace platform::detail {

NetworkChanges& NetworkChanges::shared(networking::EventLoop& loop) {
  static NetworkChanges& changes = *new NetworkChanges(loop);
  return changes;
}

NetworkChanges::NetworkChanges(networking::EventLoop& loop) {
  // Where the system does not tell of changes, nobody hears of any.
  if (monitor_.descriptor() >= 0) static_cast<void>(loop.watch(monitor_.descriptor(), *this));
}

void NetworkChanges::descriptorReady(networking::Readiness) {
  if (!monitor_.drain()) return;
  for (const auto& listener : listeners_) listener();
}

}  // namespace platform::detail
