#include "Platform/Dispatch/UniqueFunction.hpp"

#include <gtest/gtest.h>

#include <functional>

#include <array>
#include <memory>
#include <string>

namespace platform {
namespace {

TEST(UniqueFunctionTest, holdsMoveOnlyCallablesSmallAndLarge) {
  std::array<long, 20> large{};
  large[19] = 7;
  UniqueFunction<long()> small([pointer = std::make_unique<long>(5)] { return *pointer; });
  UniqueFunction<long()> big([large, pointer = std::make_unique<long>(1)] { return large[19] + *pointer; });

  auto movedSmall = std::move(small);
  auto movedBig = std::move(big);

  EXPECT_EQ(movedSmall(), 5);
  EXPECT_EQ(movedBig(), 8);
  EXPECT_FALSE(small);  // NOLINT(bugprone-use-after-move): the state after a move is what is tested
  EXPECT_FALSE(big);    // NOLINT(bugprone-use-after-move)
}

TEST(UniqueFunctionTest, dropsWhatItCapturedExactlyOnce) {
  const auto captured = std::make_shared<int>(0);
  Block block([captured] {});
  EXPECT_EQ(captured.use_count(), 2);

  Block other = std::move(block);
  EXPECT_EQ(captured.use_count(), 2);
  other = nullptr;

  EXPECT_EQ(captured.use_count(), 1);
}

TEST(UniqueFunctionTest, ignoresAResultNobodyAskedFor) {
  int calls = 0;
  Block block([&] { return ++calls; });

  block();

  EXPECT_EQ(calls, 1);
}

TEST(UniqueFunctionTest, passesArgumentsOnWithoutCopies) {
  UniqueFunction<std::string(std::unique_ptr<std::string>, const std::string&)> join(
      [](std::unique_ptr<std::string> first, const std::string& second) { return *first + second; });

  EXPECT_EQ(join(std::make_unique<std::string>("a"), "b"), "ab");
}

TEST(UniqueFunctionTest, isEmptyWhenMadeOfAnEmptyFunction) {
  EXPECT_FALSE(Block(std::function<void()>()));
  EXPECT_FALSE(Block(static_cast<void (*)()>(nullptr)));
  EXPECT_FALSE(UniqueFunction<void()>(UniqueFunction<int()>()));
  EXPECT_TRUE(Block(std::function<void()>([] {})));
  EXPECT_TRUE(Block([] {}));
}

}  // namespace
}  // namespace platform
