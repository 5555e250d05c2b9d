#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "Platform/Foundation/Progress.hpp"
#include "Platform/Loading/Internal/LoopClock.hpp"

namespace platform::detail {

/// Counts the bytes of one task, and tells its progress object now and then: as often as a person can see. Costs
/// nothing to speak of while nobody asked for that object.
///
/// Its deadline is when counts that were held back are to be told.
class ProgressMeter final : public DeadlineEntry {
 public:
  static constexpr LoopTime interval = 50 * oneMillisecond;

  // Any thread.
  /// Made when it is asked for first.
  const std::shared_ptr<Progress>& progress();

  // Loop side.
  /// How many bytes there will be; negative when that is not known.
  void expect(std::int64_t total) { total_ = total; }
  /// So many bytes are done by now. Going back, as when a body is sent again, counts for nothing.
  /// Returns whether the count is held back, to be told by `tell` at `due`.
  bool count(std::int64_t completed, LoopTime now);
  LoopTime due() const { return told_ + interval; }
  void tell(LoopTime now);
  /// The work is done, all of it: a total that was not known is known now.
  void finish(LoopTime now);

 private:
  std::int64_t completed_ = 0;
  std::int64_t total_ = Progress::unknownCount;
  LoopTime told_ = 0;
  std::once_flag once_;
  std::shared_ptr<Progress> progress_;
  std::atomic<bool> isWanted_ = false;
};

}  // namespace platform::detail
