#include "Platform/Foundation/UUID.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace {

using platform::UUID;

TEST(UUIDTest, isFreshAndOfVersionFour) {
  std::unordered_set<UUID> seen;

  for (int round = 0; round < 1000; ++round) {
    const UUID uuid;
    const std::string text = uuid.uuidString();

    ASSERT_THAT(text, testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    ASSERT_TRUE(seen.insert(uuid).second);
  }
}

TEST(UUIDTest, readsTheCanonicalFormInEitherCase) {
  const auto upper = UUID::parse("6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B");
  const auto lower = UUID::parse("6d0c4b2e-8f11-4c57-9a51-0a4e4d2f1c3b");

  ASSERT_TRUE(upper && lower);
  EXPECT_EQ(*upper, *lower);
  EXPECT_EQ(upper->uuidString(), "6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B");
}

TEST(UUIDTest, readsNothingElse) {
  for (const char* text : {"", "6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3", "6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3BA",
                           "6D0C4B2E8F11-4C57-9A51-0A4E4D2F1C3BAB", "6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3G",
                           "{6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B}", "6D0C4B2E-8F11-4C57-9A51 0A4E4D2F1C3B",
                           "6D0C4B2E-8F11-4C57-9A5-10A4E4D2F1C3B", "-D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B"}) {
    EXPECT_EQ(UUID::parse(text), std::nullopt) << text;
  }
}

TEST(UUIDTest, isOrderedLikeItsText) {
  const UUID first = UUID::parse("00000000-0000-4000-8000-00000000000F").value();
  const UUID second = UUID::parse("00000000-0000-4000-8000-0000000000F0").value();

  EXPECT_LT(first, second);
  EXPECT_NE(first.hash(), second.hash());
}

TEST(UUIDTest, isFreshOnEveryThread) {
  std::vector<std::vector<UUID>> made(4);
  std::vector<std::thread> threads;
  for (auto& own : made) threads.emplace_back([&own] { own.resize(100); });
  for (auto& thread : threads) thread.join();

  std::unordered_set<UUID> seen;
  for (const auto& own : made) seen.insert(own.begin(), own.end());

  EXPECT_EQ(seen.size(), 400U);
}

TEST(UUIDTest, isFreshInAForkedChild) {
  const UUID before;  // fills the buffer that the child inherits
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);

  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const std::string text = UUID().uuidString();
    ::_exit(::write(ends[1], text.data(), text.size()) == 36 ? 0 : 1);
  }
  ::close(ends[1]);
  char text[36] = {};
  const ssize_t count = ::read(ends[0], text, sizeof text);
  ::close(ends[0]);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);

  ASSERT_EQ(count, 36);
  EXPECT_NE(std::string(text, sizeof text), UUID().uuidString());
}

}  // namespace
