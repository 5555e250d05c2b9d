#include "Platform/Networking/Pool/AdmissionQueue.hpp"

#include <sys/resource.h>

#include <algorithm>

#include "Platform/Trap.hpp"

namespace platform::networking {

namespace {

/// Long enough that a burst of responses does not count as work without end, short beside any network.
constexpr Duration countedSpan = std::chrono::milliseconds(2);
constexpr Duration lookInterval = std::chrono::seconds(1);

}  // namespace

AdmissionEntry::~AdmissionEntry() {
  if (state_ != State::outside) trap("a transfer was destroyed while it was admitted or waiting");
}

AdmissionQueue::AdmissionQueue(std::size_t cap)
    : cap_(std::max<std::size_t>(cap, 1)), limit_(std::min(initialLimit, cap_)) {}

AdmissionQueue::~AdmissionQueue() {
  if (waiting_ + active_ > 0) trap("an admission queue was destroyed while transfers were in it");
}

void AdmissionQueue::enqueue(AdmissionHost& host, AdmissionEntry& entry, std::size_t hostMaximum) {
  if (entry.state_ != AdmissionEntry::State::outside) trap("a transfer was enqueued twice");
  host.maximum_ = hostMaximum;
  host.waiting_.append(entry);
  entry.host_ = &host;
  entry.state_ = AdmissionEntry::State::waiting;
  ++waiting_;
  refreshReadiness(host);
}

AdmissionEntry* AdmissionQueue::next() {
  if (active_ >= limit_ || ready_.isEmpty()) return nullptr;
  AdmissionHost& host = *ready_.takeFirst();
  host.isReady_ = false;
  AdmissionEntry& entry = *host.waiting_.takeFirst();
  entry.state_ = AdmissionEntry::State::active;
  ++host.active_;
  peak_ = std::max(peak_, ++active_);
  --waiting_;
  refreshReadiness(host);
  return &entry;
}

void AdmissionQueue::finished(AdmissionEntry& entry) {
  if (!entry.isActive()) trap("a transfer that is not active finished");
  AdmissionHost& host = *entry.host_;
  entry.state_ = AdmissionEntry::State::outside;
  --host.active_;
  --active_;
  refreshReadiness(host);
}

bool AdmissionQueue::cancel(AdmissionEntry& entry) {
  if (!entry.isWaiting()) return false;
  AdmissionHost& host = *entry.host_;
  host.waiting_.remove(entry);
  entry.state_ = AdmissionEntry::State::outside;
  --waiting_;
  refreshReadiness(host);
  return true;
}

bool AdmissionQueue::loopSlept(TimePoint now, Duration duration) {
  lowerLimitIfUnused(now);
  if (!isHeldBack()) {
    countedSince_ = now;
    slept_ = Duration::zero();
    return false;
  }
  slept_ += duration;
  const Duration counted = now - countedSince_;
  if (counted < countedSpan) return false;
  const bool mostlySlept = slept_ > counted / 2;
  countedSince_ = now;
  slept_ = Duration::zero();
  if (mostlySlept) limit_ = std::min(cap_, limit_ + std::max<std::size_t>(limit_ / 2, 1));
  return mostlySlept;
}

std::size_t AdmissionQueue::capForDescriptors(std::size_t descriptors) {
  constexpr std::size_t reserve = 64;
  constexpr std::size_t lowest = 4;
  const std::size_t spare = descriptors > reserve ? descriptors - reserve : 0;
  return std::clamp(std::min(descriptors / 2, spare), lowest, highestLimit);
}

std::size_t AdmissionQueue::descriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return highestLimit * 2;
  return static_cast<std::size_t>(limit.rlim_cur);
}

void AdmissionQueue::setHeld(AdmissionHost& host, bool isHeld) {
  host.isHeld_ = isHeld;
  refreshReadiness(host);
}

void AdmissionQueue::refreshReadiness(AdmissionHost& host) {
  if (host.mayStart() == host.isReady_) return;
  host.isReady_ = !host.isReady_;
  if (host.isReady_) {
    ready_.append(host);
  } else {
    ready_.remove(host);
  }
}

void AdmissionQueue::lowerLimitIfUnused(TimePoint now) {
  if (now - lastLook_ < lookInterval) return;
  lastLook_ = now;
  limit_ = std::min(limit_, std::max(peak_ * 2, std::min(initialLimit, cap_)));
  peak_ = active_;
}

}  // namespace platform::networking
