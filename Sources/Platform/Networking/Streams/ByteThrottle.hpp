#pragma once

#include <cstddef>

#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Pool/IntrusiveList.hpp"
#include "Platform/Networking/Pool/TokenBucket.hpp"

namespace platform::networking {

/// One direction of a stream, which may have to wait for its turn. It stays where it is in memory while it waits.
class ThrottledDirection : public ListLinks<ThrottledDirection> {
 public:
  ThrottledDirection() = default;
  ThrottledDirection(const ThrottledDirection&) = delete;
  ThrottledDirection& operator=(const ThrottledDirection&) = delete;

  bool isWaiting() const { return isWaiting_; }

 protected:
  virtual ~ThrottledDirection() = default;

 private:
  friend class ByteThrottle;

  /// It waited, and may move bytes again; it may be destroyed in here.
  virtual void mayMove() = 0;

  bool isWaiting_ = false;
};

/// Divides so many bytes per second among streams: each moves what there is, up to a share, and those that find nothing
/// wait in order. It sleeps until there is enough to be worth a call. Loop side only.
class ByteThrottle final : private Timer {
 public:
  /// Positive. What was not moved in a tenth of a second is not made up for.
  ByteThrottle(EventLoop& loop, double bytesPerSecond);
  ~ByteThrottle() override;

  /// How many bytes may be moved now; 0: the direction waits, and is told when it may go on.
  std::size_t allowance(ThrottledDirection& direction);
  /// So many were moved, even without allowance.
  void moved(std::size_t bytes);
  void stopWaiting(ThrottledDirection& direction);

 private:
  void timerFired() override;
  void sleep();

  EventLoop& loop_;
  const double capacity_;
  TokenBucket bucket_;
  IntrusiveList<ThrottledDirection> waiting_;
  bool isCalling_ = false;
  ThrottledDirection* turn_ = nullptr;  ///< the one whose turn it is, until it takes what is there
};

}  // namespace platform::networking
