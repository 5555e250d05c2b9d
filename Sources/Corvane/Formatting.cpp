#include "Corvane/Formatting.hpp"

#include <sstream>
#include <utility>

namespace corvane::detail {

std::string written(void (*write)(std::ostream&, const void*), const void* value) {
  std::ostringstream stream;
  write(stream, value);
  return std::move(stream).str();
}

}  // namespace corvane::detail
