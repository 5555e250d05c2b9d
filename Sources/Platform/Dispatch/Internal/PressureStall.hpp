#pragma once

#include <chrono>

#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"

namespace platform::detail {

/// Descriptors that become exceptional (`POLLPRI`) while tasks wait for memory; -1 where there is none.
struct PressureTriggers {
  int warning = -1;
  int critical = -1;

  bool isEmpty() const { return warning < 0 && critical < 0; }
  /// Asks the kernel; empty when it has no pressure-stall information for this process.
  static PressureTriggers open();
  void close() const;
};

/// Reports what the triggers tell, on the calling thread, until none of them can tell more. Once pressure
/// was reported, `normal` follows when there was none for `calm`. Closes the descriptors.
CORVANE_API void watchPressure(PressureTriggers triggers, std::chrono::milliseconds calm,
                               UniqueFunction<void(MemoryPressure)> report);

}  // namespace platform::detail
