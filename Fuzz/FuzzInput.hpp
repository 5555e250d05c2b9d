#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Platform/Trap.hpp"

namespace platform::fuzz {

/// Ends the process where an invariant does not hold.
inline void require(bool holds, std::string_view invariant) {
  if (!holds) trap(invariant);
}

/// Takes the first line off the front; everything when there is no line end.
inline std::string_view takeLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return line;
}

/// Takes the first byte off the front; zero when there is none.
inline std::uint8_t takeByte(std::string_view& rest) {
  if (rest.empty()) return 0;
  const auto byte = static_cast<std::uint8_t>(rest.front());
  rest.remove_prefix(1);
  return byte;
}

/// Cuts a text into pieces. The same seed gives the same cuts; one piece in eight is long.
class Pieces {
 public:
  Pieces(std::string_view text, std::uint32_t seed) : rest_(text), state_(seed * 2 + 1) {}

  bool isAtEnd() const { return rest_.empty(); }
  /// Not empty, unless at the end.
  std::string_view next() {
    state_ = state_ * 1664525 + 1013904223;
    const std::uint32_t draw = state_ >> 16;
    const std::size_t size = 1 + draw % ((draw >> 8) % 8 == 0 ? 997 : 7);
    const std::string_view piece = rest_.substr(0, size);
    rest_.remove_prefix(piece.size());
    return piece;
  }

 private:
  std::string_view rest_;
  std::uint32_t state_;
};

}  // namespace platform::fuzz
