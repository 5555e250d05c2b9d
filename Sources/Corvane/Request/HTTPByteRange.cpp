#include "Corvane/Request/HTTPByteRange.hpp"

#include <ostream>

#include "Platform/Trap.hpp"

namespace corvane {

HTTPByteRange HTTPByteRange::between(std::int64_t first, std::int64_t last) {
  if (first < 0 || last < first) platform::trap("A range of bytes ends before it begins, or begins before the first");
  return HTTPByteRange(std::to_string(first) + "-" + std::to_string(last));
}

HTTPByteRange HTTPByteRange::from(std::int64_t first) {
  if (first < 0) platform::trap("A range of bytes begins before the first");
  return HTTPByteRange(std::to_string(first) + "-");
}

HTTPByteRange HTTPByteRange::last(std::int64_t count) {
  if (count <= 0) platform::trap("A range of the last bytes has none");
  return HTTPByteRange("-" + std::to_string(count));
}

std::ostream& operator<<(std::ostream& stream, const HTTPByteRange& range) { return stream << range.text(); }

}  // namespace corvane
