#include "ProgressLine.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int narrowestBar = 10;
constexpr int widestBar = 40;
// Room for the longest text beside the bar, so that the bar does not jump when the text changes.
constexpr int roomForText = 52;
constexpr int widestName = 24;
constexpr double longestTime = 100 * 3600;

template <class... Values>
std::string formatted(const char* format, Values... values) {
  char text[64];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

bool hasTotal(const TransferState& state) { return state.totalBytes >= 0; }

bool isWhole(const TransferState& state) { return hasTotal(state) && state.completedBytes >= state.totalBytes; }

double fraction(const TransferState& state) {
  if (isWhole(state)) return 1;
  return static_cast<double>(state.completedBytes) / static_cast<double>(state.totalBytes);
}

// 100% is said of the whole only.
std::string percentText(const TransferState& state) {
  return formatted("%3d%%", static_cast<int>(std::floor(fraction(state) * 100)));
}

std::string barText(const TransferState& state, int width) {
  const auto filled = static_cast<std::size_t>(std::floor(fraction(state) * width));
  return "[" + std::string(filled, '#') + std::string(static_cast<std::size_t>(width) - filled, '-') + "]";
}

std::string countText(const TransferState& state) {
  return std::to_string(state.finishedTransfers) + " of " + std::to_string(state.transfers) + ", ";
}

std::string amountText(const TransferState& state) {
  const std::string completed = byteText(static_cast<double>(state.completedBytes));
  if (!hasTotal(state) || isWhole(state)) return completed;
  return completed + " of " + byteText(static_cast<double>(state.totalBytes));
}

std::string rateText(const TransferState& state) { return ", " + byteText(state.bytesPerSecond) + "/s"; }

std::string durationText(const TransferState& state) {
  if (!hasTotal(state) || isWhole(state)) return ", after " + timeText(state.seconds);
  if (state.bytesPerSecond <= 0) return "";
  const double left = static_cast<double>(state.totalBytes - state.completedBytes) / state.bytesPerSecond;
  return left < longestTime ? ", " + timeText(std::ceil(left)) + " left" : "";
}

/// From the fullest to the shortest.
std::vector<std::string> lines(const TransferState& state, int columns) {
  const std::string percent = hasTotal(state) ? percentText(state) : "";
  const std::string gap = percent.empty() ? "" : "  ";
  const std::string count = state.transfers > 1 ? countText(state) : "";
  const std::string amount = amountText(state);
  const std::string rate = isWhole(state) ? "" : rateText(state);
  const std::string duration = durationText(state);

  std::vector<std::string> result;
  const int bar = std::min(columns - roomForText - static_cast<int>(count.size()), widestBar);
  if (!percent.empty() && bar >= narrowestBar)
    result.push_back(percent + " " + barText(state, bar) + gap + count + amount + rate + duration);
  for (const std::string& text : {count + amount + rate + duration, count + amount + rate, amount + rate, amount})
    result.push_back(percent + gap + text);
  result.push_back(percent);
  return result;
}

/// What a terminal shows as one column each, of a name that anybody may have made.
std::string shortenedName(const std::string& name, std::size_t length) {
  std::string text;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) != 0x80U) text += byte > 0x20 && byte < 0x7F ? c : byte == 0x20 ? ' ' : '?';
  }
  if (text.size() <= length) return text;
  if (length < 3) return text.substr(0, length);
  const std::size_t end = (length - 2) / 2;
  return text.substr(0, length - 2 - end) + ".." + text.substr(text.size() - end);
}

std::string fitting(const std::vector<std::string>& fromTheFullest, int columns) {
  for (const std::string& line : fromTheFullest) {
    if (static_cast<int>(line.size()) <= columns) return line;
  }
  return "";
}

}  // namespace

std::string progressLine(const TransferState& state, int columns) { return fitting(lines(state, columns), columns); }

std::string namedLine(const std::string& name, const TransferState& state, int columns) {
  const int room = std::clamp(columns / 3, 0, widestName);
  std::string text = shortenedName(name, static_cast<std::size_t>(room));
  text.resize(static_cast<std::size_t>(room), ' ');
  const std::string rest = progressLine(state, columns - room - 1);
  return rest.empty() ? text : text + " " + rest;
}

std::string summaryLine(const TransferState& state, std::int64_t failures) {
  const std::string succeeded = std::to_string(state.finishedTransfers - failures);
  const std::string failed = failures > 0 ? ", " + std::to_string(failures) + " failed" : "";
  return succeeded + " of " + std::to_string(state.transfers) + " files, " +
         byteText(static_cast<double>(state.completedBytes)) + " in " + timeText(state.seconds) + failed;
}

std::string batchLine(const BatchState& state, int columns) {
  const std::string count = std::to_string(state.responses) + " of " + std::to_string(state.requests);
  const std::string failed = state.failures > 0 ? ", " + std::to_string(state.failures) + " failed" : "";
  const int decimals = state.responsesPerSecond < 9.95 ? 1 : 0;
  const std::string rate = formatted(", %.*f a second", decimals, state.responsesPerSecond);
  const std::string duration = ", after " + timeText(state.seconds);
  return fitting({count + failed + rate + duration, count + failed + duration, count + failed, count}, columns);
}

std::string byteText(double bytes) {
  constexpr const char* units[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
  std::size_t unit = 0;
  // What would be rounded to 1000 is one of the next unit.
  while (bytes >= 999.5 && unit + 1 < std::size(units)) {
    bytes /= 1000;
    ++unit;
  }
  const int decimals = unit > 0 && bytes < 99.95 ? 1 : 0;
  return formatted("%.*f %s", decimals, bytes, units[unit]);
}

std::string timeText(double seconds) {
  const auto whole = static_cast<long long>(std::floor(std::clamp(seconds, 0.0, longestTime)));
  if (whole < 3600) return formatted("%lld:%02lld", whole / 60, whole % 60);
  return formatted("%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
}
