#pragma once

#include <new>
#include <string_view>
#include <utility>

#include "Platform/Trap.hpp"

namespace platform::detail {

/// Calls a function that allocates, at a place where an outcome would be lost if that failed, so that nothing is left
/// but to stop: the process then ends with "out of memory: " and what could not be done. It throws nothing else.
template <class Function>
decltype(auto) requiringMemory(std::string_view purpose, Function&& function) noexcept {
  try {
    return std::forward<Function>(function)();
  } catch (const std::bad_alloc&) {
    trapWith({"out of memory: ", purpose});
  }
}

}  // namespace platform::detail
