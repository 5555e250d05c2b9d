#include "Platform/Foundation/UTF8.hpp"

#include <cstdint>
#include <cstring>

namespace platform {

namespace {

std::uint8_t byteAt(std::string_view text, std::size_t index) { return static_cast<std::uint8_t>(text[index]); }

bool isContinuation(std::uint8_t byte) { return (byte & 0xC0) == 0x80; }

/// How many bytes at the start are ASCII; may stop short of the first that is not by less than a block.
std::size_t asciiPrefix(const char* text, std::size_t count) {
  constexpr std::uint64_t highBits = 0x8080808080808080U;
  std::size_t index = 0;
  std::uint64_t words[4];
  for (; count - index >= sizeof words; index += sizeof words) {
    std::memcpy(words, text + index, sizeof words);
    if (((words[0] | words[1] | words[2] | words[3]) & highBits) != 0) break;
  }
  return index;
}

struct Lead {
  std::size_t length;
  std::uint8_t secondLow, secondHigh;
};

/// What may follow a first byte (RFC 3629, section 4).
Lead leadOf(std::uint8_t first) {
  if (first < 0xC2) return {0, 0, 0};
  if (first < 0xE0) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4, 0x80, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

}  // namespace

std::size_t utf8CharacterLength(std::string_view text) noexcept {
  if (text.empty()) return 0;
  if (byteAt(text, 0) < 0x80) return 1;
  const Lead lead = leadOf(byteAt(text, 0));
  if (lead.length == 0 || text.size() < lead.length) return 0;
  if (byteAt(text, 1) < lead.secondLow || byteAt(text, 1) > lead.secondHigh) return 0;
  for (std::size_t index = 2; index < lead.length; ++index) {
    if (!isContinuation(byteAt(text, index))) return 0;
  }
  return lead.length;
}

bool isValidUTF8(std::string_view text) noexcept {
  while (!text.empty()) {
    text.remove_prefix(asciiPrefix(text.data(), text.size()));
    // Look for the next ASCII run only after a while: mixed text would look in vain at each character.
    for (std::size_t index = 0; index < 32 && !text.empty(); ++index) {
      const std::size_t length = utf8CharacterLength(text);
      if (length == 0) return false;
      text.remove_prefix(length);
    }
  }
  return true;
}

}  // namespace platform
