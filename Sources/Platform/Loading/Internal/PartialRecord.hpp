#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Security/SHA256Digest.hpp"

namespace platform::detail {

/// What a partial file is of: the file beside it. Its text (Docs/Decisions/0032):
///
///     Corvane partial download 1
///     length: 00000000000000524288
///     total: 1000000
///     url-sha256: 9f86d081…
///     validator: "33a64df5"
///     end
///
/// The length has a fixed place, so that it can be written over while the file grows. Of the URL, which may hold
/// credentials, only the digest is kept.
struct PartialRecord {
  /// How many bytes of the file are known to have arrived; what is beyond them is not.
  std::int64_t length = 0;
  /// Of the whole; absent while nobody knows.
  std::optional<std::int64_t> total = std::nullopt;
  SHA256Digest url;
  /// See `strongValidator`.
  std::string validator;

  static constexpr std::size_t longestText = 4096;
  static constexpr std::size_t lengthDigits = 20;

  std::string text() const;
  /// Absent for anything but the text of a record.
  static std::optional<PartialRecord> parse(std::string_view text);
  /// Where in the text the digits of the length are.
  static std::size_t lengthOffset();
  /// Those digits.
  static std::array<char, lengthDigits> lengthText(std::int64_t length) noexcept;
};

}  // namespace platform::detail
