#include "Platform/Dispatch/Internal/PressureStall.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace platform::detail {
namespace {

/// Returns -1 when the kernel refuses.
int openTrigger(std::string_view trigger) {
  const int descriptor = ::open("/proc/pressure/memory", O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return -1;
  // The kernel wants the terminating null as well (Documentation/accounting/psi.rst).
  const auto size = trigger.size() + 1;
  if (::write(descriptor, trigger.data(), size) == static_cast<ssize_t>(size)) return descriptor;
  ::close(descriptor);
  return -1;
}

/// Stall and window are in microseconds. Users without CAP_SYS_RESOURCE may only ask for windows that are a
/// multiple of two seconds, so the same share of two seconds is the second choice.
int openTrigger(std::string_view oneSecond, std::string_view twoSeconds) {
  const int descriptor = openTrigger(oneSecond);
  return descriptor >= 0 ? descriptor : openTrigger(twoSeconds);
}

/// Poll skips negative descriptors, so this also takes the trigger out.
void retire(pollfd& trigger) {
  if (trigger.fd >= 0) ::close(trigger.fd);
  trigger.fd = -1;
}

bool hasFired(const pollfd& trigger) { return (trigger.revents & POLLPRI) != 0; }

bool hasEnded(const pollfd& trigger) { return (trigger.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0; }

}  // namespace

PressureTriggers PressureTriggers::open() {
  PressureTriggers triggers;
  triggers.warning = openTrigger("some 150000 1000000", "some 300000 2000000");
  triggers.critical = openTrigger("full 100000 1000000", "full 200000 2000000");
  return triggers;
}

void PressureTriggers::close() const {
  for (const int descriptor : {warning, critical}) {
    if (descriptor >= 0) ::close(descriptor);
  }
}

void watchPressure(PressureTriggers triggers, std::chrono::milliseconds calm,
                   UniqueFunction<void(MemoryPressure)> report) {
  std::array<pollfd, 2> polled{pollfd{triggers.critical, POLLPRI, 0}, pollfd{triggers.warning, POLLPRI, 0}};
  auto& [critical, warning] = polled;
  bool isPressed = false;
  while (critical.fd >= 0 || warning.fd >= 0) {
    const int fired = ::poll(polled.data(), polled.size(), isPressed ? static_cast<int>(calm.count()) : -1);
    if (fired < 0 && errno != EINTR) break;
    if (fired < 0) continue;
    if (hasFired(critical)) {
      report(MemoryPressure::critical);
    } else if (hasFired(warning)) {
      report(MemoryPressure::warning);
    } else if (fired == 0) {
      report(MemoryPressure::normal);
    }
    if (fired == 0 || hasFired(critical) || hasFired(warning)) isPressed = fired != 0;
    for (auto& trigger : polled) {
      if (hasEnded(trigger)) retire(trigger);
    }
  }
  for (auto& trigger : polled) retire(trigger);
}

}  // namespace platform::detail
