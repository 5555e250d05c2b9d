#include "Platform/Loading/Internal/PieceBuffers.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace platform::detail {
namespace {

constexpr std::size_t pieceBytes = 1000;

class PieceBuffersTest : public ::testing::Test {
 protected:
  Data lent(std::size_t count) {
    Data piece = buffers.take();
    piece.resize(count);
    buffers.lend(piece);
    return piece;
  }

  PieceBuffers buffers{pieceBytes};
};

TEST_F(PieceBuffersTest, makesPiecesThatNeedNotGrow) {
  Data piece = buffers.take();
  const void* const place = piece.bytes();
  piece.resize(pieceBytes);

  EXPECT_EQ(piece.bytes(), place);
}

TEST_F(PieceBuffersTest, givesThePieceAgainThatTheConsumerHasDropped) {
  const void* const place = [&] { return lent(700).bytes(); }();
  // It was not freed: no other memory can be there.
  EXPECT_NE(Data::withCapacity(pieceBytes).bytes(), place);

  buffers.reclaim();
  const Data again = buffers.take();

  EXPECT_EQ(again.bytes(), place);
  EXPECT_TRUE(again.isEmpty());
}

TEST_F(PieceBuffersTest, leavesAPieceAloneThatTheConsumerHas) {
  Data piece = lent(700);
  const Data copy = piece;
  piece = Data();

  buffers.reclaim();

  EXPECT_NE(buffers.take().bytes(), copy.bytes());
}

TEST_F(PieceBuffersTest, takesBackWhatIsDroppedLater) {
  Data piece = lent(700);
  const void* const place = piece.bytes();
  const Data next = lent(700);
  buffers.reclaim();
  piece = Data();

  buffers.reclaim();

  EXPECT_EQ(buffers.take().bytes(), place);
}

TEST_F(PieceBuffersTest, forgetsPiecesThatAreKept) {
  std::vector<Data> kept;
  for (int i = 0; i < 20; ++i) kept.push_back(lent(700));
  buffers.reclaim();

  int stillShared = 0;
  for (const Data& piece : kept) stillShared += piece.isShared() ? 1 : 0;

  EXPECT_LT(stillShared, 5);
}

TEST_F(PieceBuffersTest, doesNotKeepMemoryOfAnotherSize) {
  const Data piece("short");
  buffers.lend(piece);

  EXPECT_FALSE(piece.isShared());
}

}  // namespace
}  // namespace platform::detail
