#include "Platform/Networking/HTTPText.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace platform::detail {

namespace {

/// Reads the quoted string that starts at `position` and leaves `position` after it.
std::string readQuotedString(std::string_view text, std::size_t& position) {
  std::string value;
  for (++position; position < text.size() && text[position] != '"'; ++position) {
    if (text[position] == '\\' && position + 1 < text.size()) ++position;
    value.push_back(text[position]);
  }
  if (position < text.size()) ++position;
  return value;
}

std::string readParameterValue(std::string_view text, std::size_t& position) {
  while (position < text.size() && isSpaceOrTab(text[position])) ++position;
  if (position < text.size() && text[position] == '"') {
    std::string value = readQuotedString(text, position);
    position = std::min(text.find(';', position), text.size());
    return value;
  }
  const std::size_t end = std::min(text.find(';', position), text.size());
  std::string value(trimmed(text.substr(position, end - position)));
  position = end;
  return value;
}

}  // namespace

bool holdsForbiddenControl(std::string_view text) {
  // Eight bytes at a time: below 0x20, or 0x7F, which is 0x80 after adding one. Bytes from 0x80 on never count.
  constexpr std::uint64_t each = 0x0101010101010101;
  constexpr std::uint64_t high = each * 0x80;
  const char* at = text.data();
  std::size_t left = text.size();
  for (; left >= sizeof(std::uint64_t); at += sizeof(std::uint64_t), left -= sizeof(std::uint64_t)) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    const std::uint64_t low = bytes & ~high;
    const std::uint64_t printing = (low + each * 0x60) & ~(low + each) & high;
    // A tab is allowed, so what looks wrong is looked at again.
    if ((printing | (bytes & high)) != high && std::any_of(at, at + sizeof(std::uint64_t), isForbiddenControl))
      return true;
  }
  return std::any_of(at, at + left, isForbiddenControl);
}

bool holdsLineBreakOrNUL(std::string_view text) {
  const auto isOne = [](char c) { return c == '\r' || c == '\n' || c == '\0'; };
  constexpr std::size_t step = sizeof(std::uint64_t);
  if (text.size() < step) return std::any_of(text.begin(), text.end(), isOne);
  // Eight bytes at a time: all three are below 0x10, as only a tab is beside them in practice. The last eight may
  // have been looked at in part.
  constexpr std::uint64_t each = 0x0101010101010101;
  constexpr std::uint64_t high = each * 0x80;
  const auto from16 = [](const char* at) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    return ((bytes & ~high) + each * 0x70) | bytes;
  };
  const char* const last = text.data() + text.size() - step;
  std::uint64_t all = from16(last);
  for (const char* at = text.data(); at < last; at += step) all &= from16(at);
  return (all & high) != high && std::any_of(text.begin(), text.end(), isOne);
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = asciiLower(c);
  return result;
}

std::vector<std::string_view> listElements(std::string_view value) {
  std::vector<std::string_view> elements;
  forEachListElement(value, [&](std::string_view element) { elements.push_back(element); });
  return elements;
}

std::optional<std::int64_t> decimal(std::string_view digits) {
  if (digits.empty() || !isDigit(digits.front())) return std::nullopt;
  std::int64_t number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::string printable(std::string_view text) {
  constexpr std::size_t maximum = 80;
  constexpr char hex[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    if (result.size() >= maximum) return result + "...";
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      result.push_back(c);
    } else {
      result.append("\\x").append(1, hex[byte >> 4]).append(1, hex[byte & 15]);
    }
  }
  return result;
}

ParameterizedValue ParameterizedValue::parse(std::string_view text) {
  ParameterizedValue result;
  std::size_t position = std::min(text.find(';'), text.size());
  result.value = trimmed(text.substr(0, position));
  while (position < text.size()) {
    ++position;
    const std::size_t nameEnd = std::min(text.find_first_of(";=", position), text.size());
    const std::string_view name = trimmed(text.substr(position, nameEnd - position));
    position = nameEnd;
    if (position == text.size() || text[position] == ';') continue;
    ++position;
    std::string value = readParameterValue(text, position);
    if (isToken(name)) result.parameters.emplace_back(lowercased(name), std::move(value));
  }
  return result;
}

const std::string* ParameterizedValue::parameter(std::string_view lowercaseName) const {
  for (const auto& [name, text] : parameters) {
    if (name == lowercaseName) return &text;
  }
  return nullptr;
}

}  // namespace platform::detail
