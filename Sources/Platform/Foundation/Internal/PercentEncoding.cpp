#include "Platform/Foundation/Internal/PercentEncoding.hpp"

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform::detail {

namespace {

using Table = std::array<std::uint8_t, 256>;

template <class... Sets>
constexpr void add(Table& table, std::string_view characters, Sets... sets) {
  for (const char character : characters) {
    auto& entry = table[static_cast<unsigned char>(character)];
    entry = static_cast<std::uint8_t>(entry | (static_cast<unsigned>(sets) | ...));
  }
}

constexpr Table makeTable() {
  using enum CharacterSet;
  Table table{};
  constexpr std::string_view lettersAndDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  add(table, lettersAndDigits, scheme);
  add(table, "+-.", scheme);
  for (const std::string_view plain : {lettersAndDigits, std::string_view("-._~")}) {
    add(table, plain, unreserved, userInformation, registeredName, path, queryOrFragment, queryItem, anywhere);
  }
  add(table, "!$'()*+,", userInformation, registeredName, path, queryOrFragment, queryItem, anywhere);
  add(table, "&=;", userInformation, registeredName, path, queryOrFragment, anywhere);
  add(table, ":", userInformation, path, queryOrFragment, queryItem, anywhere);
  add(table, "@/", path, queryOrFragment, queryItem, anywhere);
  add(table, "?", queryOrFragment, queryItem, anywhere);
  add(table, "#[]%", anywhere);
  return table;
}

}  // namespace

constexpr Table characterSets = makeTable();

bool isEscape(std::string_view text, std::size_t index) {
  return text.size() - index > 2 && text[index] == '%' && hexadecimalValue(text[index + 1]) >= 0 &&
         hexadecimalValue(text[index + 2]) >= 0;
}

std::string percentEncoded(std::string_view text, CharacterSet set) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char character : text) {
    if (contains(set, character)) {
      encoded += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      encoded.append({'%', digits[byte >> 4], digits[byte & 0x0F]});
    }
  }
  return encoded;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (isEscape(text, index)) {
      decoded += static_cast<char>(hexadecimalValue(text[index + 1]) * 16 + hexadecimalValue(text[index + 2]));
      index += 2;
    } else {
      decoded += text[index];
    }
  }
  return decoded;
}

}  // namespace platform::detail
