#include "Platform/Foundation/JSON/Internal/Base64.hpp"

#include <array>
#include <cstdint>

namespace platform::detail {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t noDigit = 64;

constexpr std::array<std::uint8_t, 256> digitValues = [] {
  std::array<std::uint8_t, 256> table{};
  table.fill(noDigit);
  for (std::size_t value = 0; value < alphabet.size(); ++value)
    table[static_cast<unsigned char>(alphabet[value])] = static_cast<std::uint8_t>(value);
  return table;
}();

}  // namespace

std::string toBase64(const Data& data) {
  std::string text;
  text.reserve((data.count() + 2) / 3 * 4);
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const std::byte byte : data) {
    bits = bits << 8U | static_cast<std::uint32_t>(byte);
    for (count += 8; count >= 6; count -= 6) text.push_back(alphabet[bits >> (count - 6) & 0x3FU]);
  }
  if (count != 0) text.push_back(alphabet[bits << (6 - count) & 0x3FU]);
  while (text.size() % 4 != 0) text.push_back('=');
  return text;
}

std::optional<Data> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.remove_suffix(1);
  Data data;
  data.resize(text.size() * 3 / 4);
  std::byte* out = data.mutableBytes();
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : text) {
    const std::uint8_t digit = digitValues[static_cast<unsigned char>(c)];
    if (digit == noDigit) return std::nullopt;
    bits = bits << 6U | digit;
    count += 6;
    if (count < 8) continue;
    count -= 8;
    *out++ = static_cast<std::byte>(bits >> count & 0xFFU);
  }
  const bool isCut = count == 6 || (bits & ((1U << count) - 1)) != 0;
  if (isCut) return std::nullopt;
  return data;
}

}  // namespace platform::detail
