#pragma once

#include <functional>
#include <vector>

#include "Platform/Loading/Internal/NetworkMonitor.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::detail {

/// Tells those who ask for it when the machine's links, addresses or routes change. Loop side only.
class NetworkChanges final : private networking::Watcher {
 public:
  /// Watches from the first call on, for as long as the process lives.
  static NetworkChanges& shared(networking::EventLoop& loop);

  /// Calls it after each change from now on, as often as there is one; several at a time may be one.
  void tell(std::function<void()> listener) { listeners_.push_back(std::move(listener)); }

 private:
  explicit NetworkChanges(networking::EventLoop& loop);
  void descriptorReady(networking::Readiness readiness) override;

  NetworkMonitor monitor_;
  std::vector<std::function<void()>> listeners_;
};

}  // namespace platform::detail
