#pragma once

#include <cerrno>
#include <string>
#include <system_error>

#include "Platform/Trap.hpp"

namespace platform::networking {

/// The result of a system call that the loop cannot do without; traps with what was called when it failed.
inline int required(int result, const char* what) {
  if (result < 0) {
    trap(std::string("the network loop cannot start: ") + what + ": " + std::system_category().message(errno));
  }
  return result;
}

}  // namespace platform::networking
