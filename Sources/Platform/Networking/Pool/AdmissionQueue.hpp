#pragma once

#include <cstddef>

#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "Platform/Networking/Pool/IntrusiveList.hpp"

namespace platform::networking {

class AdmissionHost;
class AdmissionQueue;

/// Base of what waits for admission. It stays where it is in memory while it is waiting or active, and is
/// neither when it is destroyed.
class AdmissionEntry : public ListLinks<AdmissionEntry> {
 public:
  AdmissionEntry() = default;
  AdmissionEntry(const AdmissionEntry&) = delete;
  AdmissionEntry& operator=(const AdmissionEntry&) = delete;
  ~AdmissionEntry();

  bool isWaiting() const { return state_ == State::waiting; }
  bool isActive() const { return state_ == State::active; }

 private:
  friend class AdmissionQueue;
  enum class State : unsigned char { outside, waiting, active };

  AdmissionHost* host_ = nullptr;
  State state_ = State::outside;
};

/// Of the transfers to one host, those that wait or are active. It stays where it is in memory while there are any.
class AdmissionHost : public ListLinks<AdmissionHost> {
 public:
  AdmissionHost() = default;
  AdmissionHost(const AdmissionHost&) = delete;
  AdmissionHost& operator=(const AdmissionHost&) = delete;

  bool isUnused() const { return waiting_.isEmpty() && active_ == 0; }
  bool isHeld() const { return isHeld_; }

 private:
  friend class AdmissionQueue;
  bool mayStart() const { return !waiting_.isEmpty() && !isHeld_ && (maximum_ == 0 || active_ < maximum_); }

  IntrusiveList<AdmissionEntry> waiting_;
  std::size_t active_ = 0;
  std::size_t maximum_ = 0;
  bool isReady_ = false;
  bool isHeld_ = false;
};

/// Decides which transfers may run, so that no more than pays off is under way: a few dozen active
/// transfers keep a core busy, and each further one costs the loop time, but against a server that is
/// slow to answer more are needed to keep the loop busy at all.
///
/// First in, first out for each host; hosts that may start something take turns, so a host with a long
/// queue, or at its maximum, holds up no other. Every operation takes constant time. For one thread.
class AdmissionQueue {
 public:
  static constexpr std::size_t initialLimit = 64;
  static constexpr std::size_t highestLimit = 4096;

  /// `cap` bounds how far the limit grows.
  explicit AdmissionQueue(std::size_t cap = capForDescriptors(descriptorLimit()));
  AdmissionQueue(const AdmissionQueue&) = delete;
  AdmissionQueue& operator=(const AdmissionQueue&) = delete;
  /// Requires: nothing waits or is active.
  ~AdmissionQueue();

  /// Puts the entry at the end of its host's queue. At most `hostMaximum` entries with the same `host` are
  /// active at a time; 0 means as many as the limit allows. The last value given for a host counts.
  void enqueue(AdmissionHost& host, AdmissionEntry& entry, std::size_t hostMaximum = 0);
  /// The entry that starts now; it is active from here on. Null when nothing may start.
  AdmissionEntry* next();
  /// An active entry is done.
  void finished(AdmissionEntry& entry);
  /// Takes a waiting entry out; false when it does not wait.
  bool cancel(AdmissionEntry& entry);
  /// Nothing of the host starts until `release`. Either may be called again.
  void hold(AdmissionHost& host) { setHeld(host, true); }
  void release(AdmissionHost& host) { setHeld(host, false); }

  /// The loop slept that long, until `now`. While entries wait because of the limit and the loop sleeps for
  /// most of the time, more transfers cost nothing: the limit grows by half every two milliseconds. Once a
  /// second it falls to twice what was used at most since, not below `initialLimit`. Returns whether it grew.
  bool loopSlept(TimePoint now, Duration duration);

  /// Whether only the limit, which may grow, holds something back.
  bool isHeldBack() const { return !ready_.isEmpty() && active_ >= limit_ && limit_ < cap_; }
  std::size_t limit() const { return limit_; }
  std::size_t waiting() const { return waiting_; }
  std::size_t active() const { return active_; }

  /// Half of the descriptors for transfers, at least 64 left for the application, never more than
  /// `highestLimit`; a transfer may need two while it connects over IPv4 and IPv6 at once.
  static std::size_t capForDescriptors(std::size_t descriptors);
  /// The process's soft limit.
  static std::size_t descriptorLimit();

 private:
  void setHeld(AdmissionHost& host, bool isHeld);
  void refreshReadiness(AdmissionHost& host);
  void lowerLimitIfUnused(TimePoint now);

  const std::size_t cap_;
  std::size_t limit_;
  std::size_t waiting_ = 0;
  std::size_t active_ = 0;
  // The most that was active at a time since the limit was looked at last.
  std::size_t peak_ = 0;
  TimePoint lastLook_{};
  // How much of the time the loop slept, counted while the limit holds something back.
  TimePoint countedSince_{};
  Duration slept_{};
  // Hosts that have something waiting and are below their maximum, in turn.
  IntrusiveList<AdmissionHost> ready_;
};

}  // namespace platform::networking
