#include "Platform/Loading/Internal/PieceBuffers.hpp"

#include <utility>

namespace platform::detail {

Data PieceBuffers::take() {
  if (spares_ == 0) return Data::withCapacity(pieceBytes_);
  // The last one came back last, and is the warmest.
  Data piece = std::exchange(spare_[--spares_], Data());
  piece.resize(0);
  return piece;
}

void PieceBuffers::lend(const Data& piece) {
  if (piece.capacity() < pieceBytes_) return;
  lent_[nextLent_] = piece;
  nextLent_ = (nextLent_ + 1) % mostLent;
}

void PieceBuffers::reclaim() {
  for (Data& piece : lent_) {
    if (piece.capacity() == 0 || piece.isShared()) continue;
    if (spares_ < mostSpare) spare_[spares_++] = std::move(piece);
    piece = Data();
  }
}

void PieceBuffers::clear() {
  lent_.fill(Data());
  spare_.fill(Data());
  spares_ = 0;
}

}  // namespace platform::detail
