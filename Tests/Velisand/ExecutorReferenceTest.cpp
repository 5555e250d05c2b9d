#include "Velisand/ExecutorReference.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "Velisand/Future.hpp"

namespace velisand {
namespace {

using platform::DispatchQueue;
using platform::Seconds;
using testing::ElementsAre;

TEST(ExecutorReferenceTest, callsItsCallbackOnItsQueueOncePerExecution) {
  const DispatchQueue queue("org.corvane.test.executor");
  const Future<void> done;
  std::vector<int> values;
  bool wasOnQueue = true;
  const ExecutorReference<int> reference(queue, [&](int value) {
    wasOnQueue = wasOnQueue && queue.isCurrent();
    values.push_back(value);
    if (value == 2) done.markCompletion();
  });

  reference.execute(1);
  reference.execute(2);

  ASSERT_TRUE(done.wait(Seconds(10)));
  EXPECT_THAT(values, ElementsAre(1, 2));
  EXPECT_TRUE(wasOnQueue);
}

TEST(ExecutorReferenceTest, usesTheMainQueueWhenItHasNone) {
  int seen = 0;
  const ExecutorReference<int> reference(std::nullopt, [&](int value) { seen = value; });

  reference.execute(3);

  EXPECT_EQ(seen, 0) << "the callback was called synchronously";
  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return seen == 3; }, Seconds(10)));
}

}  // namespace
}  // namespace velisand
