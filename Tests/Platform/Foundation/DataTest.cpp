#include "Platform/Foundation/Data.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using platform::Data;

TEST(DataTest, isEmptyByDefaultAndYetReadable) {
  const Data data;

  EXPECT_TRUE(data.isEmpty());
  EXPECT_NE(data.bytes(), nullptr);
  EXPECT_EQ(data.view(), "");
  EXPECT_EQ(data, Data(""));
}

TEST(DataTest, holdsTheBytesItWasMadeFrom) {
  const std::string text("a\0b", 3);
  const std::byte bytes[] = {std::byte{1}, std::byte{2}};

  EXPECT_EQ(Data(text).view(), text);
  EXPECT_EQ(Data("xyz").text(), "xyz");
  EXPECT_EQ(Data(std::span<const std::byte>(bytes)).count(), 2U);
  EXPECT_EQ(Data(bytes, 2)[1], std::byte{2});
}

TEST(DataTest, sharesTheBytesOfItsCopies) {
  const Data data("some bytes");

  const Data copy = data;  // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested

  EXPECT_EQ(copy.bytes(), data.bytes());
}

TEST(DataTest, leavesItsCopiesAloneWhenItChanges) {
  const Data original("abc");
  Data appended = original, resized = original, written = original, cleared = original;

  appended.append("def");
  resized.resize(1);
  resized.append("X");
  written.mutableBytes()[0] = std::byte{'Z'};
  cleared.clear();
  cleared.append("new");

  EXPECT_EQ(original.view(), "abc");
  EXPECT_EQ(appended.view(), "abcdef");
  EXPECT_EQ(resized.view(), "aX");
  EXPECT_EQ(written.view(), "Zbc");
  EXPECT_EQ(cleared.view(), "new");
}

TEST(DataTest, leavesTheOneItIsMovedFromEmpty) {
  Data source("abc");
  const std::byte* bytes = source.bytes();

  Data target = std::move(source);

  EXPECT_EQ(target.bytes(), bytes);
  EXPECT_TRUE(source.isEmpty());  // NOLINT(bugprone-use-after-move): that is the promise
  source = std::move(target);
  EXPECT_EQ(source.view(), "abc");
}

TEST(DataTest, survivesAssignmentToItself) {
  Data data("abc");
  Data& same = data;

  data = same;
  data = std::move(same);

  EXPECT_EQ(data.view(), "abc");
}

TEST(DataTest, appendsBytesOfItsOwn) {
  Data data("0123456789");

  for (int round = 0; round < 6; ++round) data.append(data.span());
  data.append(data.bytes() + 1, 2);

  ASSERT_EQ(data.count(), 642U);
  EXPECT_EQ(data.view().substr(0, 20), "01234567890123456789");
  EXPECT_EQ(data.view().substr(638), "8912");
}

TEST(DataTest, keepsItsBytesWhereTheyAreWithinTheReservedCapacity) {
  Data data = Data::withCapacity(1000);
  data.append("a");
  const std::byte* bytes = data.bytes();

  data.resize(1000);

  EXPECT_EQ(data.bytes(), bytes);
  EXPECT_GE(data.capacity(), 1000U);
}

TEST(DataTest, reallocatesRarelyWhenItGrowsInSmallSteps) {
  Data data;
  int reallocations = 0;
  std::size_t capacity = 0;

  for (std::size_t step = 1; step <= 1'000'000; ++step) {
    data.resize(step * 12);
    if (data.capacity() != capacity) ++reallocations;
    capacity = data.capacity();
  }

  EXPECT_EQ(data.count(), 12'000'000U);
  EXPECT_LE(reallocations, 30);
}

TEST(DataTest, keepsItsBytesWhenItGrows) {
  Data data("start");

  for (int step = 0; step < 100'000; ++step) data.append("0123456789ab");

  EXPECT_EQ(data.count(), 1'200'005U);
  EXPECT_EQ(data.view().substr(0, 17), "start0123456789ab");
  EXPECT_EQ(data.view().substr(1'200'005 - 12), "0123456789ab");
}

TEST(DataTest, keepsReadableBytesAfterItsEnd) {
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{100}, std::size_t{5000}}) {
    Data data;
    data.resize(count);
    const Data exact(std::string(count, 'x'));
    std::byte after[Data::padding];

    std::memcpy(after, data.end(), sizeof after);
    std::memcpy(after, exact.end(), sizeof after);

    EXPECT_EQ(exact.count(), count);
  }
}

TEST(DataTest, keepsItsMemoryWhenItIsClearedAlone) {
  Data data = Data::withCapacity(4096);
  data.append("abc");

  data.clear();

  EXPECT_TRUE(data.isEmpty());
  EXPECT_EQ(data.capacity(), 4096U);
}

TEST(DataTest, refusesSizesThatNoMemoryHolds) {
  Data data("abc");

  EXPECT_THROW(data.resize(SIZE_MAX), std::bad_alloc);
  EXPECT_THROW(data.reserve(SIZE_MAX - 8), std::bad_alloc);
  EXPECT_THROW(data.append("x", SIZE_MAX), std::bad_alloc);
  EXPECT_THROW(Data::withCapacity(PTRDIFF_MAX), std::bad_alloc);
  EXPECT_EQ(data.view(), "abc");
}

TEST(DataTest, givesPartsAsData) {
  const Data data("abcdef");

  EXPECT_EQ(data.subdata(2, 3).view(), "cde");
  EXPECT_EQ(data.subdata(6, 0).view(), "");
}

TEST(DataDeathTest, trapsWhenAPartReachesPastTheEnd) {
  const Data data("abc");

  EXPECT_DEATH(data.subdata(2, 2), "Corvane: Data::subdata: the part reaches past the end of the data");
  EXPECT_DEATH(data.subdata(4, 0), "reaches past the end");
  EXPECT_DEATH(data.subdata(1, SIZE_MAX), "reaches past the end");
}

TEST(DataTest, isTextOnlyWhenItIsUTF8) {
  EXPECT_THAT(Data("gr\xC3\xBC\xC3\x9F").utf8(), testing::Optional(std::string("gr\xC3\xBC\xC3\x9F")));
  EXPECT_THAT(Data().utf8(), testing::Optional(std::string()));
  EXPECT_EQ(Data("gr\xFC").utf8(), std::nullopt);
}

TEST(DataTest, comparesByBytes) {
  EXPECT_EQ(Data("abc"), Data(std::string("abc")));
  EXPECT_NE(Data("abc"), Data("abd"));
  EXPECT_NE(Data("abc"), Data("ab"));
}

TEST(DataTest, mayBeCopiedAndChangedOnManyThreads) {
  const Data shared("shared bytes");
  std::vector<std::thread> threads;
  std::atomic<int> intact = 0;

  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&shared, &intact] {
      for (int round = 0; round < 1000; ++round) {
        Data own = shared;
        own.append("!");
        if (own.view() == "shared bytes!" && shared.view() == "shared bytes") ++intact;
      }
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(intact, 4000);
}

static_assert(!std::is_constructible_v<Data, std::nullptr_t>);
static_assert(std::is_nothrow_copy_constructible_v<Data>);

}  // namespace
