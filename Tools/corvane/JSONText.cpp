#include "JSONText.hpp"

#include <Platform/Foundation/UTF8.hpp>
#include <cmath>
#include <cstdio>

namespace json {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

std::string escaped(unsigned char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  if (c >= 0x20 && c != 0x7F) return std::string(1, static_cast<char>(c));
  char text[8];
  std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(c));
  return text;
}

}  // namespace

std::string text(std::string_view value) {
  std::string result = "\"";
  while (!value.empty()) {
    const std::size_t length = platform::utf8CharacterLength(value);
    if (length == 0) {
      result += replacementCharacter;
    } else if (length == 1) {
      result += escaped(static_cast<unsigned char>(value.front()));
    } else {
      result += value.substr(0, length);
    }
    value.remove_prefix(length == 0 ? 1 : length);
  }
  return result + "\"";
}

std::string number(std::int64_t value) { return std::to_string(value); }

std::string number(double value) {
  if (!std::isfinite(value)) return null;
  char text[400];
  std::snprintf(text, sizeof text, "%.6f", value);
  return text;
}

std::string textOrNull(const std::optional<std::string>& value) { return value ? text(*value) : null; }

std::string array(const std::vector<std::string>& items) {
  std::string result;
  for (const std::string& item : items) result += (result.empty() ? "" : ", ") + item;
  return "[" + result + "]";
}

Object& Object::add(std::string_view name, std::string_view value) {
  if (!members_.empty()) members_ += ", ";
  members_.append(json::text(name)).append(": ").append(value);
  return *this;
}

}  // namespace json
