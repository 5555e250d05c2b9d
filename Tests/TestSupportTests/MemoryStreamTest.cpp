#include "TestSupport/MemoryStream.hpp"

#include <gtest/gtest.h>

#include <array>

namespace corvane::testkit {
namespace {

using platform::networking::Bytes;
using platform::networking::ByteStream;
using platform::networking::IOResult;
using platform::networking::IOStatus;
using platform::networking::StreamOwner;

struct CountingOwner final : StreamOwner {
  void streamReadable() override { ++readable; }
  void streamWritable() override { ++writable; }
  int readable = 0;
  int writable = 0;
};

IOResult write(ByteStream& stream, std::string_view text) {
  const std::array<Bytes, 1> pieces{std::as_bytes(std::span(text))};
  return stream.write(pieces);
}

TEST(MemoryStreamTest, givesThePiecesAndThenTheEnd) {
  MemoryWire wire;
  CountingOwner owner;
  const auto stream = wire.makeStream();
  stream->setOwner(&owner);
  std::array<std::byte, 8> room{};

  wire.receive("abc");
  wire.receive("d");
  wire.receiveEnd();

  EXPECT_EQ(owner.readable, 3);
  EXPECT_EQ(stream->read(room).count, 3u);
  EXPECT_EQ(stream->read(room).count, 1u);
  EXPECT_EQ(stream->read(room).status, IOStatus::closed);
}

TEST(MemoryStreamTest, saysWhenItIsDrained) {
  MemoryWire wire;
  const auto stream = wire.makeStream();
  std::array<std::byte, 2> room{};

  wire.queue("abc");

  EXPECT_FALSE(stream->read(room).isDrained);
  EXPECT_TRUE(stream->read(room).isDrained);
  EXPECT_EQ(stream->read(room).status, IOStatus::wouldBlock);
}

TEST(MemoryStreamTest, blocksAndFailsWhereItWasTold) {
  MemoryWire wire;
  CountingOwner owner;
  const auto stream = wire.makeStream();
  stream->setOwner(&owner);

  wire.allowWrites(2);
  EXPECT_EQ(write(*stream, "abc").count, 2u);
  EXPECT_EQ(write(*stream, "c").status, IOStatus::wouldBlock);
  wire.failWritesAfter(1);
  EXPECT_EQ(owner.writable, 1);
  wire.allowWrites(MemoryWire::unlimited);
  EXPECT_EQ(write(*stream, "cd").count, 1u);

  EXPECT_EQ(write(*stream, "d").status, IOStatus::failed);
  EXPECT_TRUE(stream->failure());
  EXPECT_EQ(wire.takeWritten(), "abc");
}

}  // namespace
}  // namespace corvane::testkit
