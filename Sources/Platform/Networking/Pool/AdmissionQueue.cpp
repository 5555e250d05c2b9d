#include "Platform/Networking/Pool/AdmissionQueue.hpp"

#include <sys/resource.h>

#include <algorithm>

#include "Platform/Trap.hpp"

namespace platform::networking {

struct AdmissionHost : ListLinks<AdmissionHost> {
  std::string name;
  IntrusiveList<AdmissionEntry> waiting;
  std::size_t active = 0;
  std::size_t maximum = 0;
  bool isReady = false;

  bool mayStart() const { return !waiting.isEmpty() && (maximum == 0 || active < maximum); }
  bool isUnused() const { return waiting.isEmpty() && active == 0; }
};

namespace {

// Below this many, hosts that are not in use stay in the table: finding one is cheaper than making it.
constexpr std::size_t rememberedHosts = 64;
/// Long enough that a burst of answers does not count as work without end, short beside any network.
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

void AdmissionQueue::enqueue(std::string_view hostName, AdmissionEntry& entry, std::size_t hostMaximum) {
  if (entry.state_ != AdmissionEntry::State::outside) trap("a transfer was enqueued twice");
  AdmissionHost& host = hostNamed(hostName);
  host.maximum = hostMaximum;
  host.waiting.append(entry);
  entry.host_ = &host;
  entry.state_ = AdmissionEntry::State::waiting;
  ++waiting_;
  refreshReadiness(host);
}

AdmissionEntry* AdmissionQueue::next() {
  if (active_ >= limit_ || ready_.isEmpty()) return nullptr;
  AdmissionHost& host = *ready_.takeFirst();
  host.isReady = false;
  AdmissionEntry& entry = *host.waiting.takeFirst();
  entry.state_ = AdmissionEntry::State::active;
  ++host.active;
  peak_ = std::max(peak_, ++active_);
  --waiting_;
  refreshReadiness(host);
  return &entry;
}

void AdmissionQueue::finished(AdmissionEntry& entry) {
  if (!entry.isActive()) trap("a transfer that is not active finished");
  AdmissionHost& host = *entry.host_;
  entry.state_ = AdmissionEntry::State::outside;
  --host.active;
  --active_;
  refreshReadiness(host);
  forgetIfUnused(host);
}

bool AdmissionQueue::cancel(AdmissionEntry& entry) {
  if (!entry.isWaiting()) return false;
  AdmissionHost& host = *entry.host_;
  host.waiting.remove(entry);
  entry.state_ = AdmissionEntry::State::outside;
  --waiting_;
  refreshReadiness(host);
  forgetIfUnused(host);
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

AdmissionHost& AdmissionQueue::hostNamed(std::string_view name) {
  if (const auto known = hosts_.find(name); known != hosts_.end()) return *known->second;
  auto host = std::make_unique<AdmissionHost>();
  host->name = name;
  return *hosts_.emplace(host->name, std::move(host)).first->second;
}

void AdmissionQueue::refreshReadiness(AdmissionHost& host) {
  if (host.mayStart() == host.isReady) return;
  host.isReady = !host.isReady;
  if (host.isReady) {
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

void AdmissionQueue::forgetIfUnused(AdmissionHost& host) {
  if (!host.isUnused() || hosts_.size() <= rememberedHosts) return;
  // By iterator: erasing by a key inside the element would read it while it dies.
  hosts_.erase(hosts_.find(host.name));
}

}  // namespace platform::networking
