#pragma once

#include <cstdint>
#include <memory>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace platform {

namespace detail {
class Clock;
}

/// A block that is submitted later, as by `DispatchQueue::asyncAfter`, and can be withdrawn until then. To destroy this
/// does not withdraw it.
///
/// May be used on any thread, but by one at a time.
class CORVANE_API DelayedBlock {
 public:
  /// There is none.
  DelayedBlock() noexcept = default;
  /// Submits the block to the queue after the delay, never earlier; at once without a positive delay. Throws
  /// `std::bad_alloc`: the block is then dropped.
  DelayedBlock(DispatchQueue queue, Seconds delay, Block block);

  /// Drops the block, unless it has been submitted. Waits for nothing.
  void withdraw();

 private:
  std::shared_ptr<detail::Clock> clock_;
  std::int64_t due_ = 0;
  std::uint64_t number_ = 0;
};

}  // namespace platform
