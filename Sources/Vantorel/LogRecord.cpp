#include "Vantorel/LogRecord.hpp"

#include <cstddef>

namespace vantorel {

using platform::AnyValue;
using platform::Dictionary;

namespace {

/// Writes values as an outline, one entry a line.
class Outline {
 public:
  explicit Outline(std::string& text) : text_(text) {}

  void add(const Dictionary& entries, std::size_t depth) {
    for (const auto& [key, value] : entries) add(key + ":", value, depth);
  }

 private:
  static constexpr std::size_t indentation = 4;

  void add(const std::string& label, const AnyValue& value, std::size_t depth) {
    text_.append("\n").append(depth * indentation, ' ').append(label);
    if (const auto* nested = value.dictionary()) {
      add(*nested, depth + 1);
    } else if (const auto* deferred = value.deferred()) {
      add((*deferred)(), depth + 1);
    } else if (const auto* list = value.list()) {
      for (const auto& item : *list) add("-", item, depth + 1);
    } else {
      addLines(value.description(), depth + 1);
    }
  }

  /// Further lines of a value stay under its first.
  void addLines(const std::string& lines, std::size_t depth) {
    text_.append(" ");
    for (const char character : lines) {
      text_ += character;
      if (character == '\n') text_.append(depth * indentation, ' ');
    }
  }

  std::string& text_;
};

std::string place(const LogRecord& record) {
  if (record.file.empty()) return {};
  const auto nameStart = record.file.find_last_of('/') + 1;
  return " (" + record.file.substr(nameStart) + ":" + std::to_string(record.line) + " " + record.function + ")";
}

}  // namespace

std::string_view name(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "debug";
    case LogLevel::info:
      return "info";
    case LogLevel::error:
      return "error";
    case LogLevel::fault:
      return "fault";
  }
  return {};
}

std::string text(const LogRecord& record) {
  std::string text;
  if (record.category) text += "[" + *record.category + "] ";
  text += record.message + place(record);
  if (record.userInfo) Outline(text).add(*record.userInfo, 1);
  return text;
}

}  // namespace vantorel
