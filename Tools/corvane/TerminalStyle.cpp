#include "TerminalStyle.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace {

bool wantsStyle(int stream) {
  const char* noColour = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  if (noColour && *noColour) return false;
  return terminal && std::string_view(terminal) != "dumb" && isatty(stream) != 0;
}

/// Of a string that begins there, with its quotes.
std::size_t lengthOfString(std::string_view json) {
  std::size_t length = 1;
  while (length < json.size() && json[length] != '"') length += json[length] == '\\' ? 2 : 1;
  return std::min(length + 1, json.size());
}

constexpr std::string_view structure = "{}[]:, \t\r\n";

}  // namespace

TerminalStyle::TerminalStyle(int stream) : isOn_(wantsStyle(stream)) {}

std::string TerminalStyle::styled(const char* rendition, std::string_view text) const {
  if (!isOn_ || text.empty()) return std::string(text);
  return "\033[" + std::string(rendition) + "m" + std::string(text) + "\033[0m";
}

std::string styledJSON(std::string_view json, const TerminalStyle& style) {
  std::string result;
  while (!json.empty()) {
    std::size_t length = std::min(json.find_first_not_of(structure), json.size());
    result += json.substr(0, length);
    json.remove_prefix(length);
    if (json.empty()) break;
    const bool isString = json.front() == '"';
    length = isString ? lengthOfString(json) : std::min(json.find_first_of(structure), json.size());
    const std::string_view value = json.substr(0, length);
    json.remove_prefix(length);
    const std::size_t next = json.find_first_not_of(" \t\r\n");
    const bool isKey = isString && next != json.npos && json[next] == ':';
    result += isKey ? style.key(value) : isString ? style.string(value) : style.literal(value);
  }
  return result;
}
