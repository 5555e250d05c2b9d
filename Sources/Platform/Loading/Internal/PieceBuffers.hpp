#pragma once

#include <array>
#include <cstddef>

#include "Platform/Foundation/Data.hpp"

namespace platform::detail {

/// The memory of the pieces of one body, filled again when the consumer has let go of a piece. Memory that is new each
/// time costs a page fault for each 4 KiB, more than to receive them, and is in no cache.
class PieceBuffers {
 public:
  explicit PieceBuffers(std::size_t pieceBytes) : pieceBytes_(pieceBytes) {}

  /// An empty piece with room for all that one may have.
  Data take();
  /// The consumer gets this piece. It may keep it, or a copy, as long as it likes.
  void lend(const Data& piece);
  /// Looks which of the pieces that were lent are not used any more.
  void reclaim();
  /// Lets go of all memory that it keeps: there will be no more pieces.
  void clear();

 private:
  /// One in use, and those whose futures are on their way out on another thread.
  static constexpr std::size_t mostLent = 3;
  static constexpr std::size_t mostSpare = 6;

  const std::size_t pieceBytes_;
  std::array<Data, mostLent> lent_;
  std::size_t nextLent_ = 0;
  std::array<Data, mostSpare> spare_;
  std::size_t spares_ = 0;
};

}  // namespace platform::detail
