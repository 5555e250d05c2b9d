#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Platform/Loading/Internal/NetworkLoop.hpp"
#include "Platform/Loading/Internal/NetworkMonitor.hpp"

namespace platform::detail {

class TaskCore;

/// The tasks that wait for a network. They try again when the system says that links, addresses or routes
/// changed, and, since not every change that matters is announced, at growing intervals. Loop side only.
class ConnectivityWait final : public Ticker, public EventHandler {
 public:
  static ConnectivityWait& shared(NetworkLoop& loop);

  void add(const std::shared_ptr<TaskCore>& task);

  LoopTime nextTick() override { return tasks_.empty() ? never : nextTry_; }
  void tick(LoopTime now) override;
  bool isBusy() const override { return !tasks_.empty(); }
  void ready(int descriptor, std::uint32_t events) override;

 private:
  static constexpr LoopTime firstInterval = 250 * oneMillisecond;
  static constexpr LoopTime longestInterval = 5000 * oneMillisecond;

  explicit ConnectivityWait(NetworkLoop& loop);
  void retryAll();

  NetworkLoop& loop_;
  NetworkMonitor monitor_;
  bool isWatching_ = false;
  std::vector<std::weak_ptr<TaskCore>> tasks_;
  LoopTime interval_ = firstInterval;
  LoopTime nextTry_ = never;
};

}  // namespace platform::detail
