#include "Corvane/Behaviours/Detail/ThreadSafeArray.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

namespace corvane::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ThreadSafeArrayTest, keepsTheOrderOfWhatIsAppended) {
  ThreadSafeArray<int> array;

  array.append(3);
  array.append(1);
  array.append(2);

  EXPECT_THAT(array.take(), ElementsAre(3, 1, 2));
}

TEST(ThreadSafeArrayTest, isEmptyAtFirstAndOnceItWasTaken) {
  ThreadSafeArray<int> array;

  EXPECT_THAT(array.take(), IsEmpty());
  array.append(1);
  array.take();

  EXPECT_THAT(array.take(), IsEmpty());
}

TEST(ThreadSafeArrayTest, holdsWhatCanOnlyBeMoved) {
  ThreadSafeArray<std::unique_ptr<int>> array;

  array.append(std::make_unique<int>(7));

  EXPECT_EQ(*array.take().front(), 7);
}

TEST(ThreadSafeArrayTest, growsFromManyThreads) {
  constexpr int threadCount = 8;
  constexpr int each = 500;
  ThreadSafeArray<int> array;

  std::vector<std::thread> threads;
  for (int thread = 0; thread < threadCount; ++thread)
    threads.emplace_back([&, thread] {
      for (int number = 0; number < each; ++number) array.append(thread * each + number);
    });
  for (auto& thread : threads) thread.join();

  auto numbers = array.take();
  std::sort(numbers.begin(), numbers.end());
  ASSERT_EQ(numbers.size(), std::size_t{threadCount} * each);
  EXPECT_EQ(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

}  // namespace
}  // namespace corvane::detail
