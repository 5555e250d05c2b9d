#pragma once

#include <cstddef>

#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Pool/AdmissionQueue.hpp"
#include "Platform/Networking/Pool/TokenBucket.hpp"

namespace platform::networking {

class ConnectionPool;

/// Spaces the requests to one host evenly: the host is held in the admission queue until the next one may start. Loop
/// side only.
class RequestPace final : private Timer {
 public:
  /// Of those that were admitted, so many may wait for connections; no more can then go out at once.
  static constexpr std::size_t mostUnsent = 8;

  RequestPace(ConnectionPool& pool, AdmissionHost& host, double requestsPerSecond)
      : pool_(pool), host_(host), bucket_(requestsPerSecond, 1) {}
  ~RequestPace() override;

  /// A request starts, for the first time or again; it waits for a connection.
  void began();
  /// It was given to a connection, or ended before.
  void wasSent();
  /// Whether it has something to remember.
  bool isHolding() const { return host_.isHeld(); }

 private:
  void timerFired() override;

  ConnectionPool& pool_;
  AdmissionHost& host_;
  TokenBucket bucket_;
  std::size_t unsent_ = 0;
};

}  // namespace platform::networking
