#pragma once

#include <array>
#include <exception>
#include <initializer_list>
#include <new>
#include <string_view>

#include "Platform/Trap.hpp"

namespace platform::detail {

/// Ends the process for the exception that is being handled, at a place above which nobody could catch it. Told is
/// `outOfMemory` for a failed allocation, else `threw` with the exception's text; of each, five parts at most.
[[noreturn]] inline void trapException(std::initializer_list<std::string_view> outOfMemory,
                                       std::initializer_list<std::string_view> threw) noexcept {
  std::array<std::string_view, 5> parts;
  std::size_t count = 0;
  for (const std::string_view part : threw) {
    if (count < parts.size()) parts[count++] = part;
  }
  try {
    throw;
  } catch (const std::bad_alloc&) {
    trapWith(outOfMemory);
  } catch (const std::exception& error) {
    trapWith({parts[0], parts[1], parts[2], parts[3], parts[4], ": ", error.what()});
  } catch (...) {
    trapWith({parts[0], parts[1], parts[2], parts[3], parts[4], "."});
  }
}

}  // namespace platform::detail
