#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// A universally unique identifier (RFC 4122). A default-constructed UUID is new and random (version 4), also in a
/// forked child.
class CORVANE_API UUID {
 public:
  /// A new, random UUID.
  UUID();
  /// Reads the canonical form, in either case; absent for anything else.
  static std::optional<UUID> parse(std::string_view text);
  /// Upper-case canonical form, e.g. "6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B".
  std::string uuidString() const;
  /// In the order of the canonical form.
  const std::array<std::uint8_t, 16>& bytes() const noexcept { return bytes_; }
  std::size_t hash() const noexcept;
  friend auto operator<=>(const UUID&, const UUID&) = default;

 private:
  explicit UUID(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}

  std::array<std::uint8_t, 16> bytes_;
};

}  // namespace platform

template <>
struct std::hash<platform::UUID> {
  std::size_t operator()(const platform::UUID& uuid) const noexcept { return uuid.hash(); }
};
