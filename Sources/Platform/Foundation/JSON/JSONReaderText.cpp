#include <algorithm>
#include <array>
#include <cstring>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/JSON/Internal/JSONScan.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform {
namespace {

/// The first character of a string that cannot stand there as it is, or its end. Reads up to a block more than
/// there is, which `Data` allows.
struct PlainText {
  const char* end;
  bool isASCII;
};

inline PlainText passPlainText(const char* cursor, const char* end) {
  std::uint64_t high = 0;
  for (; cursor < end; cursor += detail::blockSize) {
    const detail::TextBlock block = detail::classify(cursor);
    if (block.special != 0) {
      high |= block.high & detail::before(block.special);
      return {std::min(cursor + detail::firstOf(block.special), end), high == 0};
    }
    high |= block.high;
  }
  return {end, high == 0};
}

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

}  // namespace

/// Requires that a string comes next; it is checked, and without escapes it is not copied.
std::string_view JSONReader::readRawString(std::string& unescaped) {
  const char* const start = cursor_ + 1;
  const PlainText plain = passPlainText(start, end_);
  cursor_ = plain.end;
  const std::string_view text(start, static_cast<std::size_t>(plain.end - start));
  if (!plain.isASCII && !isValidUTF8(text)) failAt(start - 1, "the text is not UTF-8");
  if (cursor_ < end_ && *cursor_ == '"') {
    ++cursor_;
    return text;
  }
  unescaped.assign(text);
  unescape(unescaped);
  return unescaped;
}

std::string_view JSONReader::readKey(std::string& unescaped) {
  if (next() != '"') failToFind("a key in quotes");
  return readRawString(unescaped);
}

void JSONReader::readString(std::string& value) {
  if (next() != '"') failMismatch("a string");
  const char* const start = cursor_ + 1;
  const PlainText plain = passPlainText(start, end_);
  if (plain.isASCII && plain.end < end_ && *plain.end == '"') {
    value.assign(start, static_cast<std::size_t>(plain.end - start));
    cursor_ = plain.end + 1;
    return;
  }
  const std::string_view text = readRawString(value);
  if (text.data() != value.data()) value.assign(text);
}

void JSONReader::decodeString(JSONReader& reader, void* value) { reader.readString(*static_cast<std::string*>(value)); }

/// Appends what follows up to the closing quote, beginning with an escape.
void JSONReader::unescape(std::string& value) {
  for (;;) {
    if (cursor_ == end_) failToFind("a closing quote");
    if (*cursor_ == '"') break;
    if (*cursor_ != '\\') failAt(cursor_, "the text is not JSON: a control character must be escaped in a string");
    unescapeCharacter(value);
    const char* const start = cursor_;
    const PlainText plain = passPlainText(start, end_);
    const std::string_view text(start, static_cast<std::size_t>(plain.end - start));
    if (!plain.isASCII && !isValidUTF8(text)) failAt(start, "the text is not UTF-8");
    value.append(text);
    cursor_ = plain.end;
  }
  ++cursor_;
}

void JSONReader::unescapeCharacter(std::string& value) {
  const char* const start = cursor_++;
  const char letter = cursor_ < end_ ? *cursor_ : '\0';
  if (letter == 'u') {
    ++cursor_;
    unescapeUnicode(start, value);
    return;
  }
  if (cursor_ == end_) failToFind("the rest of an escape");
  const char character = escapes[static_cast<unsigned char>(letter)];
  if (character == '\0') failAt(start, "the text is not JSON: this escape does not exist");
  value.push_back(character);
  ++cursor_;
}

void JSONReader::unescapeUnicode(const char* start, std::string& value) {
  std::uint32_t character = readHexDigits();
  if (isLowSurrogate(character)) failAt(start, "half of a pair of surrogates stands alone");
  if (isHighSurrogate(character)) {
    const bool isPair = end_ - cursor_ >= 2 && cursor_[0] == '\\' && cursor_[1] == 'u';
    if (isPair) cursor_ += 2;
    const std::uint32_t low = isPair ? readHexDigits() : 0;
    if (!isLowSurrogate(low)) failAt(start, "half of a pair of surrogates stands alone");
    character = 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00);
  }
  appendUTF8(value, character);
}

std::uint32_t JSONReader::readHexDigits() {
  std::uint32_t value = 0;
  for (int count = 0; count < 4; ++count, ++cursor_) {
    const int digit = detail::hexadecimalValue(cursor_ < end_ ? *cursor_ : '\0');
    if (digit < 0) failToFind("a hexadecimal digit");
    value = value << 4U | static_cast<std::uint32_t>(digit);
  }
  return value;
}

void JSONReader::passString(std::string& scratch) {
  scratch.clear();
  readRawString(scratch);
}

}  // namespace platform
