#include "Platform/Dispatch/DelayedBlock.hpp"

#include <utility>

#include "Platform/Dispatch/Internal/Clock.hpp"
#include "Platform/Dispatch/Internal/ForkGuard.hpp"

namespace platform {

using detail::Clock;

DelayedBlock::DelayedBlock(DispatchQueue queue, Seconds delay, Block block) {
  detail::ForkGuard::requireThreads();
  if (!(delay.count() > 0)) {
    queue.async(std::move(block));
    return;
  }
  auto clock = Clock::current();
  const auto key = clock->scheduleAfter(
      Clock::nanoseconds(delay),
      [queue = std::move(queue), block = std::move(block)]() mutable { queue.async(std::move(block)); });
  due_ = key.due.count();
  number_ = key.number;
  clock_ = std::move(clock);
}

void DelayedBlock::withdraw() {
  if (const auto clock = std::exchange(clock_, nullptr)) clock->cancel({Clock::Instant(due_), number_});
}

}  // namespace platform
