#include "Platform/Foundation/ObjectCache.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using platform::Data;
using platform::ObjectCache;
using testing::Optional;

/// Room for that many entries with a key of one character and ten bytes.
std::size_t roomFor(std::size_t count) { return count * (ObjectCache::entryCost + 11); }

Data tenBytes() { return {"0123456789"}; }

TEST(ObjectCacheTest, givesBackTheBytesThatWereStored) {
  ObjectCache cache(roomFor(10));
  const Data data = tenBytes();

  cache.setObject(data, "a");

  ASSERT_THAT(cache.object("a"), Optional(data));
  EXPECT_EQ(cache.object("a")->bytes(), data.bytes());
  EXPECT_EQ(cache.object("b"), std::nullopt);
  EXPECT_EQ(cache.totalCost(), roomFor(1));
}

TEST(ObjectCacheTest, dropsWhatWasNotUsedTheLongest) {
  ObjectCache cache(roomFor(3));
  for (const char* key : {"a", "b", "c"}) cache.setObject(tenBytes(), key);

  EXPECT_TRUE(cache.object("a"));
  cache.setObject(tenBytes(), "d");

  EXPECT_FALSE(cache.object("b"));
  EXPECT_TRUE(cache.object("a") && cache.object("c") && cache.object("d"));
  EXPECT_EQ(cache.totalCost(), roomFor(3));
}

TEST(ObjectCacheTest, dropsAsManyAsALargeOneNeeds) {
  ObjectCache cache(roomFor(3));
  for (const char* key : {"a", "b", "c"}) cache.setObject(tenBytes(), key);

  cache.setObject(Data(std::string(roomFor(2) - ObjectCache::entryCost - 1, 'x')), "d");

  EXPECT_FALSE(cache.object("a") || cache.object("b"));
  EXPECT_TRUE(cache.object("c") && cache.object("d"));
}

TEST(ObjectCacheTest, doesNotKeepWhatAloneExceedsTheLimit) {
  ObjectCache cache(roomFor(2));
  cache.setObject(tenBytes(), "a");
  cache.setObject(tenBytes(), "b");

  cache.setObject(Data(std::string(roomFor(2), 'x')), "b");

  EXPECT_TRUE(cache.object("a"));
  EXPECT_FALSE(cache.object("b"));
  EXPECT_EQ(cache.totalCost(), roomFor(1));
}

TEST(ObjectCacheTest, boundsManyEmptyEntriesToo) {
  ObjectCache cache(roomFor(5));

  for (int round = 0; round < 1000; ++round) cache.setObject(Data(), std::to_string(round));

  EXPECT_LE(cache.count(), 5U);
  EXPECT_TRUE(cache.object("999"));
}

TEST(ObjectCacheTest, replacesTheBytesOfAKey) {
  ObjectCache cache(roomFor(5));
  cache.setObject(tenBytes(), "a");

  cache.setObject(Data("new"), "a");

  EXPECT_THAT(cache.object("a"), Optional(Data("new")));
  EXPECT_EQ(cache.count(), 1U);
  EXPECT_EQ(cache.totalCost(), ObjectCache::entryCost + 4);
}

TEST(ObjectCacheTest, removesOneOrAll) {
  ObjectCache cache(roomFor(5));
  for (const char* key : {"a", "b", "c"}) cache.setObject(tenBytes(), key);

  cache.removeObject("a");
  cache.removeObject("unknown");
  EXPECT_EQ(cache.count(), 2U);

  cache.removeAll();
  EXPECT_EQ(cache.count(), 0U);
  EXPECT_EQ(cache.totalCost(), 0U);
  EXPECT_EQ(cache.object("b"), std::nullopt);
}

TEST(ObjectCacheTest, isUsedOnManyThreads) {
  ObjectCache cache(roomFor(8));
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&cache] {
      for (int round = 0; round < 500; ++round) {
        const std::string key(1, static_cast<char>('a' + round % 16));
        cache.setObject(tenBytes(), key);
        const auto found = cache.object(key);
        EXPECT_TRUE(!found || *found == tenBytes());
        if (round % 100 == 0) cache.removeAll();
      }
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_LE(cache.totalCost(), roomFor(8));
}

}  // namespace
