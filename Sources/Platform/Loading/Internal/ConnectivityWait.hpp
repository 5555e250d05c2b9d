#pragma once

#include <memory>
#include <vector>

#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::detail {

class TaskCore;

/// The tasks that wait for a network. They try again when the system says that links, addresses or routes
/// changed, and, since not every change that matters is announced, at growing intervals. Loop side only.
class ConnectivityWait final : private networking::Timer {
 public:
  static ConnectivityWait& shared(networking::EventLoop& loop);

  void add(const std::shared_ptr<TaskCore>& task);

 private:
  static constexpr networking::Duration firstInterval = std::chrono::milliseconds(250);
  static constexpr networking::Duration longestInterval = std::chrono::seconds(5);

  explicit ConnectivityWait(networking::EventLoop& loop);
  void timerFired() override;
  void networkChanged();
  void retryAll();

  networking::EventLoop& loop_;
  std::vector<std::weak_ptr<TaskCore>> tasks_;
  networking::Duration interval_ = firstInterval;
};

}  // namespace platform::detail
