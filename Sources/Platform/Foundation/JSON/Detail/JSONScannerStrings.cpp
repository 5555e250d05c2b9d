#include <array>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/JSON/Detail/JSONScanner.hpp"
#include "Platform/Foundation/JSON/Internal/JSONScannerText.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform::detail {
namespace {

void appendUTF8(std::string& text, std::uint32_t character) {
  const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
  if (character < 0x80) {
    text.push_back(byte(character));
  } else if (character < 0x800) {
    text.append({byte(0xC0 | character >> 6), byte(0x80 | (character & 0x3F))});
  } else if (character < 0x10000) {
    text.append({byte(0xE0 | character >> 12), byte(0x80 | (character >> 6 & 0x3F)), byte(0x80 | (character & 0x3F))});
  } else {
    text.append({byte(0xF0 | character >> 18), byte(0x80 | (character >> 12 & 0x3F)),
                 byte(0x80 | (character >> 6 & 0x3F)), byte(0x80 | (character & 0x3F))});
  }
}

/// What a letter after a backslash stands for; NUL for one that stands for nothing.
constexpr std::array<char, 256> escapes = [] {
  std::array<char, 256> table{};
  constexpr std::string_view letters = "\"\\/bfnrt";
  constexpr std::string_view characters = "\"\\/\b\f\n\r\t";
  for (std::size_t index = 0; index < letters.size(); ++index)
    table[static_cast<unsigned char>(letters[index])] = characters[index];
  return table;
}();

bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

constexpr const char* notUTF8 = "the text is not UTF-8";
constexpr const char* halfAPair = "half of a pair of surrogates stands alone";

}  // namespace

bool JSONScanner::passString(std::string_view& text, std::string& unescaped) {
  const char* const start = cursor_ + 1;
  const PlainText plain = passPlainText(start, end_);
  cursor_ = plain.end;
  text = std::string_view(start, static_cast<std::size_t>(plain.end - start));
  if (!plain.isASCII && !isValidUTF8(text)) return refuse(start - 1, notUTF8);
  if (cursor_ < end_ && *cursor_ == '"') {
    ++cursor_;
    return true;
  }
  unescaped.assign(text);
  if (!unescape(unescaped)) return false;
  text = unescaped;
  return true;
}

/// Appends what follows up to the closing quote, beginning with an escape.
bool JSONScanner::unescape(std::string& text) {
  for (;;) {
    if (cursor_ == end_) return expect("a closing quote");
    if (*cursor_ == '"') break;
    if (*cursor_ != '\\') {
      return refuse(cursor_, "the text is not JSON: a control character must be escaped in a string");
    }
    if (!unescapeCharacter(text)) return false;
    const char* const start = cursor_;
    const PlainText plain = passPlainText(start, end_);
    const std::string_view more(start, static_cast<std::size_t>(plain.end - start));
    if (!plain.isASCII && !isValidUTF8(more)) return refuse(start, notUTF8);
    text.append(more);
    cursor_ = plain.end;
  }
  ++cursor_;
  return true;
}

bool JSONScanner::unescapeCharacter(std::string& text) {
  if (cursor_ + 1 == end_) {
    ++cursor_;
    return expect("the rest of an escape");
  }
  if (cursor_[1] == 'u') return unescapeUnicode(text);
  const char character = escapes[static_cast<unsigned char>(cursor_[1])];
  if (character == '\0') return refuse(cursor_, "the text is not JSON: this escape does not exist");
  text.push_back(character);
  cursor_ += 2;
  return true;
}

bool JSONScanner::unescapeUnicode(std::string& text) {
  const char* const start = cursor_;
  cursor_ += 2;
  std::uint32_t character = 0;
  if (!passHexDigits(character)) return false;
  if (isLowSurrogate(character)) return refuse(start, halfAPair);
  if (isHighSurrogate(character)) {
    const bool isPair = end_ - cursor_ >= 2 && cursor_[0] == '\\' && cursor_[1] == 'u';
    if (!isPair) return refuse(start, halfAPair);
    cursor_ += 2;
    std::uint32_t low = 0;
    if (!passHexDigits(low)) return false;
    if (!isLowSurrogate(low)) return refuse(start, halfAPair);
    character = 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00);
  }
  appendUTF8(text, character);
  return true;
}

bool JSONScanner::passHexDigits(std::uint32_t& value) {
  for (int count = 0; count < 4; ++count, ++cursor_) {
    const int digit = hexadecimalValue(cursor_ < end_ ? *cursor_ : '\0');
    if (digit < 0) return expect("a hexadecimal digit");
    value = value << 4U | static_cast<std::uint32_t>(digit);
  }
  return true;
}

}  // namespace platform::detail
