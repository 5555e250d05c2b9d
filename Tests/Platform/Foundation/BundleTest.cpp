#include "Platform/Foundation/Bundle.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using platform::Bundle;
using platform::Dictionary;

class BundleTest : public testing::Test {
 protected:
  ~BundleTest() override { Bundle::main().setInfoDictionary(std::nullopt); }
};

TEST_F(BundleTest, hasNoInformationAboutTheApplicationByDefault) {
  EXPECT_EQ(Bundle::main().infoDictionary(), std::nullopt);
}

TEST_F(BundleTest, keepsWhatTheApplicationSaysAboutItself) {
  const Dictionary information{{"CFBundleExecutable", "Reader"}};

  Bundle::main().setInfoDictionary(information);

  EXPECT_THAT(Bundle::main().infoDictionary(), testing::Optional(information));
}

TEST_F(BundleTest, tellsTheVersionOfTheLibrary) {
  const auto information = Bundle::library().infoDictionary();

  ASSERT_TRUE(information);
  const auto* version = information->find("CFBundleShortVersionString");
  ASSERT_NE(version, nullptr);
  ASSERT_TRUE(version->isText());
  EXPECT_THAT(*version->text(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

TEST_F(BundleTest, isReadAndSetOnManyThreads) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      for (int round = 0; round < 100; ++round) {
        Bundle::main().setInfoDictionary(Dictionary{{"thread", thread}});
        EXPECT_TRUE(Bundle::main().infoDictionary()->contains("thread"));
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
