#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "Platform/Foundation/JSON/JSONConformanceModels.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform::json_conformance {

namespace {

constexpr std::size_t depthLimit = 512;

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t round = 0; round < count; ++round) result += text;
  return result;
}

std::string arrays(std::size_t depth) { return repeated("[", depth) + repeated("]", depth); }

std::string objects(std::size_t depth) { return repeated(R"({"a":)", depth - 1) + "{}" + repeated("}", depth - 1); }

/// Objects and arrays in turn, as the model `Branch` has them; `depth` is even.
std::string branches(std::size_t depth) { return repeated(R"({"branches":[)", depth / 2) + repeated("]}", depth / 2); }

std::string skipped(const std::string& text) { return R"({"ignored": )" + text + R"(, "kept": 1})"; }

template <class T>
bool isTaken(const std::string& text) {
  try {
    JSONDecoder{}.decode<T>(Data(text));
    return true;
  } catch (const DecodingError&) {
    return false;
  }
}

TEST(JSONDepthTest, readsAsManyContainersInsideEachOtherAsTheLimitSays) {
  EXPECT_TRUE(isTaken<JSONValue>(arrays(depthLimit)));
  EXPECT_TRUE(isTaken<JSONValue>(objects(depthLimit)));
  EXPECT_TRUE(isTaken<JSONValue>(branches(depthLimit)));
  EXPECT_TRUE(isTaken<Branch>(branches(depthLimit)));
}

TEST(JSONDepthTest, refusesOneMore) {
  EXPECT_FALSE(isTaken<JSONValue>(arrays(depthLimit + 1)));
  EXPECT_FALSE(isTaken<JSONValue>(objects(depthLimit + 1)));
  EXPECT_FALSE(isTaken<JSONValue>(branches(depthLimit + 2)));
  EXPECT_FALSE(isTaken<Branch>(branches(depthLimit + 2)));
}

TEST(JSONDepthTest, countsWhatIsSkippedToo) {
  EXPECT_TRUE(isTaken<Kept>(skipped(arrays(depthLimit - 1))));
  EXPECT_TRUE(isTaken<Kept>(skipped(objects(depthLimit - 1))));
  EXPECT_FALSE(isTaken<Kept>(skipped(arrays(depthLimit))));
  EXPECT_FALSE(isTaken<Kept>(skipped(objects(depthLimit))));
}

TEST(JSONDepthTest, countsDepthAndNotContainers) {
  const std::string many = "[" + repeated("[{}],", 3 * depthLimit) + "[]]";

  EXPECT_TRUE(isTaken<JSONValue>(many));
  EXPECT_TRUE(isTaken<Kept>(skipped(many)));
}

TEST(JSONDepthTest, refusesADocumentThatOnlyOpens) {
  constexpr std::size_t many = 1'000'000;

  EXPECT_FALSE(isTaken<JSONValue>(std::string(many, '[')));
  EXPECT_FALSE(isTaken<JSONValue>(repeated(R"({"a":)", many)));
  EXPECT_FALSE(isTaken<Branch>(repeated(R"({"branches":[)", many)));
  EXPECT_FALSE(isTaken<Kept>(R"({"ignored": )" + std::string(many, '[')));
  EXPECT_FALSE(isTaken<Kept>(R"({"ignored": )" + repeated(R"({"a":)", many)));
}

}  // namespace

}  // namespace platform::json_conformance
