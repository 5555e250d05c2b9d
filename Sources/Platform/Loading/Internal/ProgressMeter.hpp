#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "Platform/Foundation/Progress.hpp"
#include "Platform/Networking/Loop/Timer.hpp"

namespace platform::detail {

/// Counts the bytes of one task, and tells its progress object now and then: as often as a person can see. Costs
/// nothing to speak of while nobody asked for that object.
///
/// Its deadline is when counts that were held back are to be told.
class ProgressMeter final : public networking::Timer {
 public:
  static constexpr networking::Duration interval = std::chrono::milliseconds(50);

  /// Whether the work is done with the last byte, so that `finish` follows at once and tells of it; an upload still
  /// waits for its response then.
  explicit ProgressMeter(bool endsWithLastByte = true) : endsWithLastByte_(endsWithLastByte) {}

  // Any thread.
  /// Made when it is asked for first, with the counts so far.
  std::shared_ptr<Progress> progress();

  // Loop side.
  /// How many bytes there will be; negative when that is not known.
  void expect(std::int64_t total) { total_.store(total); }
  /// So many bytes are done by now. Going back, as when a body is sent again, counts for nothing.
  /// Returns whether the count is held back, to be told by `tell` at `due`.
  bool count(std::int64_t completed, networking::TimePoint now);
  networking::TimePoint due() const { return told_ + interval; }
  void tell(networking::TimePoint now);
  /// The work is done, all of it: tells of it once, in any case. A total that was not known is known now.
  void finish();

 private:
  void timerFired() override { tell(networking::NetworkClock::now()); }

  const bool endsWithLastByte_;
  bool isFinished_ = false;
  // Written on the loop side. The thread that counts and the thread that first asks must not miss each other: one sees
  // what the other wrote, since each writes before it reads, in the one order that all of these have.
  std::atomic<std::int64_t> completed_ = 0;
  std::atomic<std::int64_t> total_ = Progress::unknownCount;
  std::atomic<bool> isWanted_ = false;
  networking::TimePoint told_{};
  std::mutex mutex_;
  std::shared_ptr<Progress> progress_;
};

}  // namespace platform::detail
