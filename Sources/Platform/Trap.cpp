#include "Platform/Trap.hpp"

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>

namespace platform {

void trap(std::string_view reason) noexcept { trapWith({reason}); }

void trapWith(std::initializer_list<std::string_view> reason) noexcept {
  std::array<iovec, 10> line{};
  std::size_t parts = 0;
  // POSIX has no type for pieces that are only read.
  const auto add = [&](std::string_view part) { line[parts++] = {const_cast<char*>(part.data()), part.size()}; };
  add("Corvane: ");
  for (const std::string_view part : reason) {
    if (parts < line.size() - 1) add(part);
  }
  add("\n");
  // Nothing can be done about a failing write on the way to abort.
  [[maybe_unused]] const auto written = ::writev(STDERR_FILENO, line.data(), static_cast<int>(parts));
  std::abort();
}

}  // namespace platform
