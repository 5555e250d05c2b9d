#include "TerminalLine.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr int usualColumns = 80;

}  // namespace

int TerminalLine::columns() const {
  winsize size{};
  const bool isKnown = ioctl(terminal_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  // Many terminals go to the next line when the last column is written.
  return (isKnown ? size.ws_col : usualColumns) - 1;
}

void TerminalLine::show(const std::string& text) {
  const std::size_t rest = length_ > text.size() ? length_ - text.size() : 0;
  write("\r" + text + std::string(rest, ' '));
  length_ = text.size();
}

void TerminalLine::clear() {
  if (length_ == 0) return;
  const auto most = static_cast<std::size_t>(std::max(columns(), 0));
  write("\r" + std::string(std::min(length_, most), ' ') + "\r");
  length_ = 0;
}

// A terminal that is gone must not end what is under way.
void TerminalLine::write(const std::string& text) const {
  [[maybe_unused]] const ssize_t count = ::write(terminal_, text.data(), text.size());
}
