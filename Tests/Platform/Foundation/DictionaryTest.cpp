#include "Platform/Foundation/Dictionary.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using platform::AnyValue;
using platform::Dictionary;
using testing::ElementsAre;

std::vector<std::string> keys(const Dictionary& dictionary) {
  std::vector<std::string> result;
  for (const auto& [key, value] : dictionary) result.push_back(key);
  return result;
}

TEST(DictionaryTest, keepsTheOrderInWhichKeysWereFirstAdded) {
  Dictionary dictionary{{"b", 1}, {"a", 2}};

  dictionary.set("c", 3);
  dictionary.set("b", 4);

  EXPECT_THAT(keys(dictionary), ElementsAre("b", "a", "c"));
  EXPECT_EQ(*dictionary.find("b"), AnyValue(4));
}

TEST(DictionaryTest, letsTheLastValueOfARepeatedKeyWin) {
  const Dictionary dictionary{{"a", 1}, {"b", 2}, {"a", 3}};

  EXPECT_EQ(dictionary.count(), 2U);
  EXPECT_EQ(*dictionary.find("a"), AnyValue(3));
  EXPECT_THAT(keys(dictionary), ElementsAre("a", "b"));
}

TEST(DictionaryTest, findsNothingUnderAnotherSpelling) {
  const Dictionary dictionary{{"Key", 1}};

  EXPECT_TRUE(dictionary.contains("Key"));
  EXPECT_FALSE(dictionary.contains("key"));
  EXPECT_EQ(dictionary.find("Ke"), nullptr);
}

TEST(DictionaryTest, makesAnAbsentKeyWithANullValue) {
  Dictionary dictionary;

  EXPECT_TRUE(dictionary["a"].isNull());
  dictionary["a"] = "text";
  dictionary["a"] = 5;

  EXPECT_EQ(dictionary, (Dictionary{{"a", 5}}));
}

TEST(DictionaryTest, removesAKeyOnce) {
  Dictionary dictionary{{"a", 1}, {"b", 2}};

  EXPECT_TRUE(dictionary.remove("a"));
  EXPECT_FALSE(dictionary.remove("a"));
  EXPECT_THAT(keys(dictionary), ElementsAre("b"));
}

TEST(DictionaryTest, takesTheValuesOfTheOneItIsMergedWith) {
  Dictionary dictionary{{"a", 1}, {"b", 2}};

  dictionary.merge({{"c", 3}, {"a", 4}});
  dictionary.merge(dictionary);

  EXPECT_THAT(keys(dictionary), ElementsAre("a", "b", "c"));
  EXPECT_EQ(*dictionary.find("a"), AnyValue(4));
}

TEST(DictionaryTest, isEqualInAnyOrder) {
  EXPECT_EQ((Dictionary{{"a", 1}, {"b", 2}}), (Dictionary{{"b", 2}, {"a", 1}}));
  EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"a", 2}}));
  EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"b", 1}}));
  EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"a", 1}, {"b", 1}}));
}

}  // namespace
