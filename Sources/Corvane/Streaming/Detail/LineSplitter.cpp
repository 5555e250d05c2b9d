#include "Corvane/Streaming/Detail/LineSplitter.hpp"

#include <utility>

#include "Corvane/Errors/HTTPStreamError.hpp"

namespace corvane::detail {

void LineSplitter::put(platform::Data piece) {
  piece_ = std::move(piece);
  used_ = 0;
}

std::optional<std::string> LineSplitter::next() {
  const std::string_view rest = piece_.view().substr(used_);
  const std::size_t end = rest.find('\n');
  if (end != std::string_view::npos) {
    used_ += end + 1;
    return taken(rest.substr(0, end));
  }
  keep(rest);
  used_ = piece_.count();
  if (!isFinished_ || begun_.empty()) return std::nullopt;
  return taken({});
}

std::string LineSplitter::taken(std::string_view rest) {
  keep(rest);
  if (begun_.ends_with('\r')) begun_.pop_back();
  if (begun_.size() > maximumBytes_) throw HTTPStreamError::lineTooLong(number_ + 1, maximumBytes_);
  ++number_;
  return std::exchange(begun_, {});
}

/// The CR of its end does not count.
void LineSplitter::keep(std::string_view part) {
  const std::size_t count = begun_.size() + part.size();
  if (count > 0 && count - 1 > maximumBytes_) throw HTTPStreamError::lineTooLong(number_ + 1, maximumBytes_);
  begun_.append(part);
}

}  // namespace corvane::detail
