#include "Platform/Trap.hpp"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace platform {

void trap(std::string_view reason) noexcept {
  std::string line = "Corvane: ";
  line.append(reason).append("\n");
  // Nothing can be done about a failing write on the way to abort.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
  std::abort();
}

}  // namespace platform
