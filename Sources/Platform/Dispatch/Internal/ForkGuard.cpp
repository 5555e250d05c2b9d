#include "Platform/Dispatch/Internal/ForkGuard.hpp"

#include <pthread.h>

#include "Platform/Trap.hpp"

namespace platform::detail {

std::atomic<bool> ForkGuard::isForkedChild_ = false;

void ForkGuard::noteThreads() {
  static const int registered = ::pthread_atfork(nullptr, nullptr, [] { isForkedChild_ = true; });
  if (registered != 0) trap("The fork handler could not be registered.");
}

void ForkGuard::refuse() {
  trap(
      "The library was used in a process that was forked after its threads had been started, which it does not have: "
      "call exec right after fork, or fork before the first use of the library.");
}

}  // namespace platform::detail
