#pragma once

#include <sys/resource.h>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Foundation/Internal/RaisedSignalGuard.hpp"

namespace platform::detail {

/// Makes a call that writes into a file, until no signal interrupts it. Beyond the size that the process may give a
/// file (RLIMIT_FSIZE) it fails with EFBIG, and raises no SIGXFSZ, which ends a process that does not handle it.
template <class Call>
auto writingToFile(Call call) {
  rlimit limit{};
  // Most processes have no limit, and need no guard.
  if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY) return uninterrupted(call);
  const RaisedSignalGuard guard(SIGXFSZ);
  return uninterrupted(call);
}

}  // namespace platform::detail
