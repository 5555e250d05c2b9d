#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;

/// As many members as a model may have.
struct Wide {
  int a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, c0, c1, c2, c3, c4, c5, c6, c7,
      c8, c9, d0, d1, d2, d3, d4, d5, d6, d7, d8, d9, e0, e1, e2, e3, e4, e5, e6, e7, e8, e9, f0, f1, f2, f3, f4, f5,
      f6, f7, f8, f9, g0, g1, g2, g3;

  friend bool operator==(const Wide&, const Wide&) = default;
};

const Wide counted{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                   22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43,
                   44, 45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};

std::vector<std::string> membersOfCounted() {
  std::vector<std::string> members;
  for (int index = 0; index < 64; ++index) {
    const char letter = static_cast<char>('a' + index / 10);
    members.push_back("\"" + std::string(1, letter) + std::to_string(index % 10) + "\":" + std::to_string(index));
  }
  return members;
}

std::string object(const std::vector<std::string>& members) {
  std::string json = "{";
  for (const std::string& member : members) json.append(json.size() == 1 ? "" : ",").append(member);
  return json + "}";
}

TEST(JSONManyMembersTest, areReadAndWrittenInTheirOrder) {
  EXPECT_EQ(encoded(counted), object(membersOfCounted()));
  EXPECT_EQ(decoded<Wide>(object(membersOfCounted())), counted);
}

TEST(JSONManyMembersTest, areReadInAnyOrder) {
  std::mt19937 random(64);
  std::vector<std::string> members = membersOfCounted();
  for (int round = 0; round < 200; ++round) {
    std::ranges::shuffle(members, random);

    ASSERT_EQ(decoded<Wide>(object(members)), counted);
  }
}

TEST(JSONManyMembersTest, areAllRequired) {
  for (std::size_t missing = 0; missing < 64; ++missing) {
    std::vector<std::string> members = membersOfCounted();
    const std::string key = members[missing].substr(1, 2);
    members.erase(members.begin() + static_cast<std::ptrdiff_t>(missing));

    EXPECT_EQ(refusal<Wide>(object(members)).key(), key);
  }
}

/// Keys of 6, 8, 13, 14, 16 and more characters: with quotes and colon below, at and above whole words.
struct Lengths {
  int five5, sixsix, seven77, eight888, thirteen13333, fourteen144444, fifteen15555555, sixteen166666666;
  int seventeen17777777, aVeryLongNameOfAMemberThatFillsMoreThanTwoWords1,
      aVeryLongNameOfAMemberThatFillsMoreThanTwoWords2;
  int aVeryLongNameOfOtherMembersThatFillMoreThanTwoWords1;

  friend bool operator==(const Lengths&, const Lengths&) = default;
};

TEST(JSONKeyLengthTest, doesNotMatter) {
  const Lengths model{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const std::string json = encoded(model);
  std::vector<std::string> members;
  for (std::size_t start = 1, end = 0; start < json.size(); start = end + 1) {
    end = std::min(json.find(',', start), json.size() - 1);
    members.push_back(json.substr(start, end - start));
  }

  for (std::size_t round = 0; round < members.size(); ++round) {
    std::ranges::rotate(members, members.begin() + 1);
    EXPECT_EQ(decoded<Lengths>(object(members)), model);
  }
  std::ranges::reverse(members);
  EXPECT_EQ(decoded<Lengths>(object(members)), model);
}

TEST(JSONKeyLengthTest, isComparedToTheLastCharacter) {
  struct Long {
    std::optional<int> aVeryLongNameOfAMemberThatFillsMoreThanTwoWords;
  };
  const std::string key = "aVeryLongNameOfAMemberThatFillsMoreThanTwoWords";

  EXPECT_TRUE(decoded<Long>("{\"" + key + "\":1}").aVeryLongNameOfAMemberThatFillsMoreThanTwoWords);
  for (std::size_t place = 0; place < key.size(); ++place) {
    std::string other = key;
    other[place] = '#';

    EXPECT_FALSE(decoded<Long>("{\"" + other + "\":1}").aVeryLongNameOfAMemberThatFillsMoreThanTwoWords) << other;
    EXPECT_FALSE(decoded<Long>("{\"" + key.substr(0, place) + "\":1}").aVeryLongNameOfAMemberThatFillsMoreThanTwoWords);
    EXPECT_FALSE(
        decoded<Long>("{\"" + key.substr(place + 1) + "\":1}").aVeryLongNameOfAMemberThatFillsMoreThanTwoWords);
  }
  EXPECT_FALSE(decoded<Long>("{\"" + key + "s\":1}").aVeryLongNameOfAMemberThatFillsMoreThanTwoWords);
}

TEST(JSONKeyPrefixTest, isNotTheKey) {
  struct Prefixes {
    int a, aa, aaa, aaaa, ab, aab, aaab, b, ba, baa;

    bool operator==(const Prefixes&) const = default;
  };
  const Prefixes model{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};

  EXPECT_EQ(decoded<Prefixes>(encoded(model)), model);
  EXPECT_EQ(decoded<Prefixes>(
                R"({"baa":10,"ba":9,"b":8,"aaab":7,"aab":6,"ab":5,"aaaa":4,"aaa":3,"aa":2,"a":1,"aaaaa":0,"":0})"),
            model);
}

TEST(JSONKeyLookUpTest, findsKeysThatDifferInTheirInsideOnly) {
  struct Similar {
    int x0y0z, x0y1z, x1y0z, x1y1z, x2y0z, x2y2z, x3y0z, x3y3z;

    bool operator==(const Similar&) const = default;
  };
  const Similar model{1, 2, 3, 4, 5, 6, 7, 8};

  EXPECT_EQ(decoded<Similar>(
                R"({"x3y3z":8,"x3y0z":7,"x2y2z":6,"x2y0z":5,"x1y1z":4,"x1y0z":3,"x0y1z":2,"x0y0z":1,"x9y0z":0})"),
            model);
}

}  // namespace
}  // namespace platform
