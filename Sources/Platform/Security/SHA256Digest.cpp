#include "Platform/Security/SHA256Digest.hpp"

#include <ostream>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/Internal/SHA256Hasher.hpp"

namespace platform {

namespace {

int valueOfDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

[[noreturn]] void refuse(std::string_view text) {
  throw Error("SHA256Digest", 0,
              "\"" + std::string(text) + "\" is no SHA-256 digest: 64 hexadecimal digits are needed");
}

std::array<std::byte, SHA256Digest::byteCount> parsed(std::string_view hex) {
  std::array<std::byte, SHA256Digest::byteCount> bytes;
  if (hex.size() != 2 * bytes.size()) refuse(hex);
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    const int high = valueOfDigit(hex[2 * index]);
    const int low = valueOfDigit(hex[2 * index + 1]);
    if (high < 0 || low < 0) refuse(hex);
    bytes[index] = static_cast<std::byte>(high * 16 + low);
  }
  return bytes;
}

}  // namespace

SHA256Digest::SHA256Digest(std::string_view hex) : bytes_(parsed(hex)) {}

SHA256Digest::SHA256Digest(const char* hex) : SHA256Digest(std::string_view(hex)) {}

SHA256Digest::SHA256Digest(const std::string& hex) : SHA256Digest(std::string_view(hex)) {}

SHA256Digest SHA256Digest::of(std::span<const std::byte> bytes) {
  detail::SHA256Hasher hasher;
  hasher.add(bytes);
  return hasher.finish();
}

std::string SHA256Digest::hex() const {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes_.size());
  for (const std::byte byte : bytes_) {
    text += digits[std::to_integer<unsigned>(byte) >> 4U];
    text += digits[std::to_integer<unsigned>(byte) & 15U];
  }
  return text;
}

std::ostream& operator<<(std::ostream& stream, const SHA256Digest& digest) { return stream << digest.hex(); }

}  // namespace platform
