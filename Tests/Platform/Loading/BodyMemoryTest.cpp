#include "Platform/Loading/Internal/BodyMemory.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

namespace platform::detail {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

/// Receives as much as the memory has room for; how much that was.
std::size_t fill(BodyMemory& memory) {
  const std::size_t count = memory.room(1).size();
  memory.filled(count);
  return count;
}

TEST(BodyMemoryTest, keepsWhatIsAppended) {
  BodyMemory memory;
  memory.append(bytesOf("one "));
  memory.append({});
  memory.append(bytesOf("two"));

  EXPECT_EQ(memory.take().view(), "one two");
}

TEST(BodyMemoryTest, receivesInPlace) {
  BodyMemory memory;
  memory.expect(8);
  memory.append(bytesOf("one "));
  const auto room = memory.room(4);
  ASSERT_EQ(room.size(), 4U);
  std::memcpy(room.data(), "two!", 4);
  memory.filled(4);
  const Data body = memory.take();

  EXPECT_EQ(body.view(), "one two!");
  EXPECT_EQ(body.bytes() + 4, room.data());
}

TEST(BodyMemoryTest, roomThatWasNotFilledIsNotPartOfTheBody) {
  BodyMemory memory;
  memory.expect(1000);
  memory.room(1000);
  memory.filled(3);

  EXPECT_EQ(memory.take().count(), 3U);
}

TEST(BodyMemoryTest, takesNoMoreForAnAnnouncedLengthThanThat) {
  BodyMemory memory;
  memory.expect(100'000);
  memory.append(bytesOf("a"));

  EXPECT_EQ(memory.room(1).size(), 99'999U);
}

TEST(BodyMemoryTest, believesALengthOnlyAsFarAsTheBodyCame) {
  BodyMemory memory;
  memory.expect(std::int64_t{1} << 40);

  std::size_t total = fill(memory);
  EXPECT_EQ(total, BodyMemory::firstStep);
  const std::size_t next = fill(memory);
  EXPECT_EQ(next, 3 * total);
  total += next;
  EXPECT_EQ(memory.room(1).size(), 3 * total);
}

TEST(BodyMemoryTest, keepsItsBytesWhenItGrows) {
  BodyMemory memory;
  memory.expect(2 * static_cast<std::int64_t>(BodyMemory::firstStep));
  std::memset(memory.room(1).data(), 'x', BodyMemory::firstStep);
  memory.filled(BodyMemory::firstStep);
  memory.append(bytesOf("end"));
  const Data body = memory.take();

  EXPECT_EQ(body.view(), std::string(BodyMemory::firstStep, 'x') + "end");
}

TEST(BodyMemoryTest, takesMoreThanWasAnnounced) {
  BodyMemory memory;
  memory.expect(2);
  memory.append(bytesOf("a body of more"));

  EXPECT_EQ(memory.take().view(), "a body of more");
}

TEST(BodyMemoryTest, isReadyForTheNextBodyOnceTaken) {
  BodyMemory memory;
  memory.expect(100);
  memory.append(bytesOf("first"));
  const Data first = memory.take();
  memory.append(bytesOf("second"));

  EXPECT_EQ(memory.take().view(), "second");
  EXPECT_EQ(first.view(), "first");
  EXPECT_TRUE(memory.take().isEmpty());
}

}  // namespace
}  // namespace platform::detail
