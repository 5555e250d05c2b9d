#include "TimelineDrawing.hpp"

#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace {

using Kind = TimelinePhase::Kind;

constexpr int labelColumns = 10;
constexpr int durationColumns = 9;
/// The bars' own room, from what is left of them on.
constexpr int leftColumns = 2 + labelColumns + durationColumns + 2;
constexpr int fewestBarColumns = 10;

const char* label(Kind kind) {
  switch (kind) {
    case Kind::queue:
      return "queue";
    case Kind::name:
      return "name";
    case Kind::connect:
      return "connect";
    case Kind::tls:
      return "TLS";
    case Kind::request:
      return "request";
    case Kind::wait:
      return "wait";
    case Kind::response:
      return "response";
  }
  return "";
}

/// What belongs to the connection, to the server and to the transfer are told apart.
std::string styled(Kind kind, const std::string& bar, const TerminalStyle& style) {
  switch (kind) {
    case Kind::name:
    case Kind::connect:
    case Kind::tls:
      return style.key(bar);
    case Kind::queue:
    case Kind::wait:
      return style.literal(bar);
    case Kind::request:
    case Kind::response:
      return style.string(bar);
  }
  return bar;
}

/// Eighths of a column, from the left.
constexpr std::array<const char*, 8> eighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};

std::string repeated(std::string_view text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

std::string padded(const std::string& text, int columns, bool toTheRight) {
  const std::string space(static_cast<std::size_t>(std::max(0, columns - static_cast<int>(text.size()))), ' ');
  return toTheRight ? space + text : text + space;
}

/// The end of a long text is what is left out.
std::string shortened(const std::string& text, int columns) {
  const auto most = static_cast<std::size_t>(std::max(columns, 4));
  return text.size() <= most ? text : text.substr(0, most - 3) + "...";
}

class Drawing {
 public:
  Drawing(const Timeline& timeline, int columns, BarStyle bars, const TerminalStyle& style)
      : duration_(timeline.duration),
        columns_(columns),
        barColumns_(columns - leftColumns),
        bars_(bars),
        style_(style) {}

  std::string entry(const TimelineEntry& entry) const {
    std::string text = style_.heading(shortened(entry.request, columns_)) + "\n";
    text += "  " + shortened(entry.facts, columns_ - 2) + "\n";
    for (const TimelinePhase& phase : entry.phases) text += line(phase);
    return text;
  }

 private:
  std::string line(const TimelinePhase& phase) const {
    const std::string figures = "  " + padded(label(phase.kind), labelColumns, false) +
                                padded(readable(phase.end - phase.start), durationColumns, true);
    if (barColumns_ < fewestBarColumns) return figures + "\n";
    const double scale = duration_.count() > 0 ? barColumns_ / static_cast<double>(duration_.count()) : 0;
    const double start = static_cast<double>(phase.start.count()) * scale;
    const double end = static_cast<double>(phase.end.count()) * scale;
    const int first = std::clamp(static_cast<int>(start), 0, barColumns_ - 1);
    return figures + "  " + std::string(static_cast<std::size_t>(first), ' ') +
           styled(phase.kind, bar(first, end), style_) + "\n";
  }

  /// Whatever took place is seen.
  std::string bar(int first, double end) const {
    const double length = std::min(end, static_cast<double>(barColumns_)) - first;
    if (bars_ == BarStyle::plain) return repeated("#", std::max(1, static_cast<int>(std::lround(length))));
    const int parts = std::max(1, static_cast<int>(std::lround(length * 8)));
    return repeated("█", parts / 8) + eighths[static_cast<std::size_t>(parts % 8)];
  }

  const std::chrono::nanoseconds duration_;
  const int columns_;
  const int barColumns_;
  const BarStyle bars_;
  const TerminalStyle& style_;
};

/// Of the user's locale, whatever that of the program is.
bool isUTF8() {
  const locale_t user = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (!user) return false;
  const bool result = std::string_view(nl_langinfo_l(CODESET, user)) == "UTF-8";
  freelocale(user);
  return result;
}

}  // namespace

std::string drawn(const Timeline& timeline, int columns, BarStyle bars, const TerminalStyle& style) {
  const Drawing drawing(timeline, columns, bars, style);
  std::string text;
  for (const TimelineEntry& entry : timeline.entries) text += drawing.entry(entry);
  return text + style.heading("total " + timeline.summary) + "\n";
}

BarStyle barStyleFor(int stream) { return isatty(stream) != 0 && isUTF8() ? BarStyle::blocks : BarStyle::plain; }
