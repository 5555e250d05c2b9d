#include "Corvane/Request/OrderedDictionary.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::Pair;

using Numbers = OrderedDictionary<std::string, int>;

static_assert(std::random_access_iterator<Numbers::const_iterator>);

TEST(OrderedDictionaryTest, startsEmpty) {
  const Numbers empty;

  EXPECT_EQ(empty.startIndex(), 0);
  EXPECT_EQ(empty.endIndex(), 0);
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_EQ(empty.count(), 0u);
  EXPECT_EQ(empty.first(), nullptr);
  EXPECT_EQ(empty.begin(), empty.end());
}

TEST(OrderedDictionaryTest, keepsTheOrderInWhichKeysWereFirstSet) {
  Numbers numbers;

  numbers["b"] = 1;
  numbers["a"] = 2;
  numbers["b"] = 3;

  EXPECT_THAT(numbers, ElementsAre(Pair("b", 3), Pair("a", 2)));
}

TEST(OrderedDictionaryTest, readsByKey) {
  const Numbers numbers{{"b", 2}, {"a", 1}};

  EXPECT_EQ(*numbers["a"], 1);
  EXPECT_EQ(*numbers.find("b"), 2);
  EXPECT_EQ(numbers["c"], nullptr);
  EXPECT_EQ(numbers.find("c"), nullptr);
}

TEST(OrderedDictionaryTest, removesAKeyThatIsSetToAbsent) {
  Numbers numbers{{"a", 1}, {"b", 2}, {"c", 3}};

  numbers["b"] = std::nullopt;

  EXPECT_THAT(numbers, ElementsAre(Pair("a", 1), Pair("c", 3)));
}

TEST(OrderedDictionaryTest, staysAsItIsWhenAnAbsentKeyIsSetToAbsent) {
  Numbers numbers{{"a", 1}};

  numbers["z"] = std::nullopt;
  numbers.set("y", std::nullopt);

  EXPECT_THAT(numbers, ElementsAre(Pair("a", 1)));
}

TEST(OrderedDictionaryTest, storesALiteralThatRepeatsAKeyAsItStands) {
  Numbers numbers{{"x", 1}, {"y", 2}, {"x", 3}};

  EXPECT_THAT(numbers, ElementsAre(Pair("x", 1), Pair("y", 2), Pair("x", 3)));
  EXPECT_EQ(*numbers.find("x"), 1);

  numbers["x"] = std::nullopt;

  EXPECT_THAT(numbers, ElementsAre(Pair("y", 2), Pair("x", 3)));
  EXPECT_EQ(*numbers.find("x"), 3);
}

TEST(OrderedDictionaryTest, changesOnlyTheFirstOfRepeatedKeys) {
  Numbers numbers{{"x", 1}, {"x", 3}};

  numbers["x"] = 9;

  EXPECT_THAT(numbers, ElementsAre(Pair("x", 9), Pair("x", 3)));
}

TEST(OrderedDictionaryTest, changesAValueInPlace) {
  Numbers numbers{{"a", 1}};

  *numbers["a"] += 10;
  *numbers.find("a") += 100;

  EXPECT_EQ(*numbers["a"], 111);
  EXPECT_TRUE(numbers["a"]);
  EXPECT_FALSE(numbers["b"]);
}

TEST(OrderedDictionaryTest, givesEntriesByPosition) {
  const Numbers numbers{{"b", 2}, {"a", 1}};

  EXPECT_THAT(numbers.at(0), Pair("b", 2));
  EXPECT_THAT(numbers.at(1), Pair("a", 1));
  EXPECT_EQ(numbers.indexAfter(numbers.startIndex()), 1);
  EXPECT_EQ(numbers.endIndex(), 2);
  EXPECT_THAT(*numbers.first(), Pair("b", 2));
}

TEST(OrderedDictionaryTest, isAValue) {
  const Numbers original{{"a", 1}};

  auto copy = original;
  copy["a"] = 2;
  copy["b"] = 3;

  EXPECT_THAT(original, ElementsAre(Pair("a", 1)));
}

TEST(OrderedDictionaryTest, holdsAnyPrintableValueByDefault) {
  OrderedDictionary<std::string> query{{"name", "Ada"}, {"page", 2}};

  query["exact"] = true;

  std::vector<std::string> texts;
  for (const auto& [key, value] : query) texts.push_back(key + "=" + value.description());
  EXPECT_THAT(texts, ElementsAre("name=Ada", "page=2", "exact=true"));
}

TEST(OrderedDictionaryTest, needsNothingOfItsKeysButEquality) {
  struct Key {
    int number;
    bool operator==(const Key&) const = default;
  };
  OrderedDictionary<Key, int> dictionary{{{1}, 10}};

  dictionary[{2}] = 20;

  EXPECT_EQ(*dictionary.find({2}), 20);
}

TEST(OrderedDictionaryDeathTest, trapsOutsideItsPositions) {
  const Numbers numbers{{"a", 1}};

  EXPECT_DEATH(numbers.at(1), "position out of range");
  EXPECT_DEATH(numbers.at(-1), "position out of range");
}

TEST(OrderedDictionaryDeathTest, trapsWhenAnAbsentValueIsChangedInPlace) {
  Numbers numbers;

  EXPECT_DEATH(*numbers["a"] = 1, "no value for this key");
}

}  // namespace
}  // namespace corvane
