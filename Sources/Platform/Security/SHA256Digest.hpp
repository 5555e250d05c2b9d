#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// A SHA-256 digest (FIPS 180-4): 32 bytes.
class CORVANE_API SHA256Digest {
 public:
  /// The number of bytes.
  static constexpr std::size_t byteCount = 32;

  /// From 64 hexadecimal digits, in either case. Throws an `Error` that quotes any other text.
  SHA256Digest(std::string_view hex);    // NOLINT(google-explicit-constructor): digests are published as text
  SHA256Digest(const char* hex);         // NOLINT(google-explicit-constructor)
  SHA256Digest(const std::string& hex);  // NOLINT(google-explicit-constructor)
  /// From its bytes.
  explicit SHA256Digest(const std::array<std::byte, byteCount>& bytes) noexcept : bytes_(bytes) {}

  /// The digest of these bytes. Throws an `Error` once the process exits.
  static SHA256Digest of(std::span<const std::byte> bytes);

  /// The digest itself.
  const std::array<std::byte, byteCount>& bytes() const noexcept { return bytes_; }
  /// 64 hexadecimal digits, in lower case.
  std::string hex() const;

  friend bool operator==(const SHA256Digest&, const SHA256Digest&) = default;
  /// Prints the hexadecimal digits.
  friend CORVANE_API std::ostream& operator<<(std::ostream& stream, const SHA256Digest& digest);

 private:
  std::array<std::byte, byteCount> bytes_;
};

}  // namespace platform
