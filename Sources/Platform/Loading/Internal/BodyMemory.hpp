#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Platform/Foundation/Data.hpp"

namespace platform::detail {

/// A response's body that is kept in memory. Bytes are appended, or received in place.
///
/// An announced length is only a claim: memory beyond `firstStep` is taken in steps of four times what has arrived by
/// then. A body without one doubles it. For one thread; `take` leaves it empty for the next body.
class BodyMemory {
 public:
  static constexpr std::size_t firstStep = std::size_t{64} << 20;

  /// The length that the head announces, in bytes; 0 or less: it is not known.
  void expect(std::int64_t length) { announced_ = length > 0 ? static_cast<std::size_t>(length) : 0; }
  /// Room for the next bytes, `count` or more. It is not zeroed. Valid until the next call.
  std::span<std::byte> room(std::size_t count);
  /// So many bytes were written to the beginning of `room`.
  void filled(std::size_t count) { count_ += count; }
  void append(std::span<const std::byte> bytes);
  /// The bytes so far.
  Data take();

 private:
  void grow(std::size_t wanted);

  Data memory_;  ///< as long as there is room
  std::size_t count_ = 0;
  std::size_t announced_ = 0;
};

}  // namespace platform::detail
