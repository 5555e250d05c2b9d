#include "TerminalLine.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int usualColumns = 80;

}  // namespace

int TerminalLine::columns() const {
  winsize size{};
  const bool isKnown = ioctl(terminal_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  // Many terminals go to the next line when the last column is written.
  return (isKnown ? size.ws_col : usualColumns) - 1;
}

std::size_t TerminalLine::rows() const {
  const char* const terminal = std::getenv("TERM");
  winsize size{};
  const bool isKnown = ioctl(terminal_, TIOCGWINSZ, &size) == 0 && size.ws_row > 1;
  return terminal && std::string_view(terminal) != "dumb" && isKnown ? size.ws_row - 1U : 1;
}

void TerminalLine::show(const std::string& text) {
  const std::size_t rest = length_ > text.size() ? length_ - text.size() : 0;
  write("\r" + text + std::string(rest, ' '));
  length_ = text.size();
}

// ECMA-48: CUU goes up, EL clears the rest of a line, ED the rest of the screen.
void TerminalLine::show(const std::vector<std::string>& lines) {
  if (lines.empty()) return clear();
  if (lines.size() == 1 && linesAbove_ == 0) return show(lines.front());
  std::string text = toTheFirstLine();
  for (std::size_t index = 0; index < lines.size(); ++index) {
    text += (index == 0 ? "" : "\r\n") + lines[index] + "\033[K";
  }
  write(text + "\033[J");
  linesAbove_ = lines.size() - 1;
  length_ = lines.back().size();
}

std::string TerminalLine::toTheFirstLine() const {
  return linesAbove_ == 0 ? "\r" : "\r\033[" + std::to_string(linesAbove_) + "A";
}

void TerminalLine::clear() {
  if (linesAbove_ > 0) write(toTheFirstLine() + "\033[J");
  if (linesAbove_ > 0) length_ = 0;
  linesAbove_ = 0;
  if (length_ == 0) return;
  const auto most = static_cast<std::size_t>(std::max(columns(), 0));
  write("\r" + std::string(std::min(length_, most), ' ') + "\r");
  length_ = 0;
}

// A terminal that is gone must not end what is under way.
void TerminalLine::write(const std::string& text) const {
  [[maybe_unused]] const ssize_t count = ::write(terminal_, text.data(), text.size());
}
