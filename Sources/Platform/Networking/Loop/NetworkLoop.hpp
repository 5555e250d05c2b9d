#pragma once

#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::networking {

/// The event loop that drives every transfer of the process, and the threads that drive it: the network thread, or a
/// leader, a thread that would sleep otherwise (`LoopOwnership`). Never destroyed.
class NetworkLoop final : public Driver {
 public:
  static NetworkLoop& shared();

  EventLoop& loop() { return loop_; }

  // Driver.
  bool drive(CooperativeWait& wait, Seconds limit) override;
  void interrupt() override { ownership().interrupt(); }

 private:
  class Lease;

  NetworkLoop();
  void runThread();
  void release(LoopOwnership::Successor successor);
  LoopOwnership& ownership() { return loop_.ownership(); }

  EventLoop loop_;
};

}  // namespace platform::networking
