#pragma once

#include <functional>

namespace bench {

/// What the work returns in a copy of this process, so that each finds the heap as this process has it, not as the one
/// before left it. Throws when the work does. Requires: one thread.
double inFreshProcess(const std::function<double()>& work);

}  // namespace bench
