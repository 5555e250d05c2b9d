#pragma once

#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/UTF8.hpp>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

/// null where there is nothing: a report always has all its keys.
template <class T>
using OrNull = std::variant<std::monostate, T>;

template <class T>
OrNull<T> orNull(std::optional<T> value) {
  if (!value) return std::monostate();
  return *std::move(value);
}

/// A server may send any bytes, and a path may have any; JSON is UTF-8.
inline std::string inUTF8(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = platform::utf8CharacterLength(text);
    result.append(length == 0 ? "\xEF\xBF\xBD" : text.substr(0, length));
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

inline OrNull<std::string> inUTF8OrNull(const std::optional<std::string>& text) {
  return text ? OrNull<std::string>(inUTF8(*text)) : std::monostate();
}

/// Seconds, so that the lines of many exchanges can be read below each other.
struct SixDigits {
  double value;
};

template <>
struct platform::JSONCodec<SixDigits> {
  static void encode(const SixDigits& number, JSONWriter& writer) {
    char text[400];  // the largest double has 309 digits
    std::snprintf(text, sizeof text, "%.6f", number.value);
    writer.writeRaw(text);
  }
};
