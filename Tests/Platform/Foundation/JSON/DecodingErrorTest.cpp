#include "Platform/Foundation/JSON/DecodingError.hpp"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::refusal;
using Path = std::vector<CodingKey>;

struct Owner {
  int id;
  std::optional<std::string> name;
};
struct Item {
  Owner owner;
  std::map<std::string, int> counts;
};
struct Document {
  std::vector<Item> items;
};

TEST(DecodingErrorTest, tellsOfAMissingKey) {
  const DecodingError error = refusal<Document>(R"({"items":[{"owner":{"id":1},"counts":{}}, {"counts":{}}]})");

  EXPECT_EQ(error.which(), DecodingError::Case::keyNotFound);
  EXPECT_EQ(error.key(), "owner");
  EXPECT_EQ(error.codingPath(), (Path{CodingKey("items"), CodingKey(std::size_t{1})}));
  EXPECT_EQ(error.byteOffset(), 42U);
  EXPECT_EQ(error.problem(), "the key \"owner\" is missing");
  EXPECT_EQ(error.message(), "items[1]: the key \"owner\" is missing");
  EXPECT_EQ(error.errorDomain(), "DecodingError");
  EXPECT_EQ(error.errorCode(), 0);
}

TEST(DecodingErrorTest, tellsOfATypeThatDoesNotFit) {
  const DecodingError error = refusal<Document>(R"({"items":[{"owner":{"id": "1"},"counts":{}}]})");

  EXPECT_EQ(error.which(), DecodingError::Case::typeMismatch);
  EXPECT_EQ(error.key(), "");
  EXPECT_EQ(error.codingPath(),
            (Path{CodingKey("items"), CodingKey(std::size_t{0}), CodingKey("owner"), CodingKey("id")}));
  EXPECT_EQ(error.byteOffset(), 26U);
  EXPECT_EQ(error.message(), "items[0].owner.id: expected an integer, found a string");
  EXPECT_EQ(error.errorCode(), 1);
}

TEST(DecodingErrorTest, tellsOfANullInPlaceOfAValue) {
  const DecodingError error = refusal<Document>(R"({"items":[{"owner":null,"counts":{}}]})");

  EXPECT_EQ(error.which(), DecodingError::Case::valueNotFound);
  EXPECT_EQ(error.byteOffset(), 19U);
  EXPECT_EQ(error.message(), "items[0].owner: expected an object, found null");
  EXPECT_EQ(error.errorCode(), 2);
}

TEST(DecodingErrorTest, tellsOfAValueThatCannotBe) {
  const DecodingError error = refusal<Document>(R"({"items":[{"counts":{"a":1,"b":3000000000}}]})");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.byteOffset(), 31U);
  EXPECT_EQ(error.message(), "items[0].counts.b: the number 3000000000 does not fit into a signed integer of 32 bits");
  EXPECT_EQ(error.errorCode(), 3);
}

TEST(DecodingErrorTest, carriesItsPlaceAsUserInfo) {
  const Dictionary info = refusal<Document>(R"({"items":[{"owner":{"id":"1"}}]})").errorUserInfo();

  EXPECT_EQ(info, (Dictionary{{"codingPath", std::string("items[0].owner.id")}, {"byteOffset", std::size_t{25}}}));
}

TEST(DecodingErrorTest, hasNoPathForTheDocumentItself) {
  const DecodingError error = refusal<int>("  \"1\"");

  EXPECT_TRUE(error.codingPath().empty());
  EXPECT_EQ(error.byteOffset(), 2U);
  EXPECT_EQ(error.message(), "expected an integer, found a string");
}

TEST(DecodingErrorTest, quotesKeysThatAreNoIdentifiers) {
  using Counts = std::map<std::string, int>;

  EXPECT_EQ(refusal<Counts>(R"({"a b":true})").message(), "[\"a b\"]: expected an integer, found a boolean");
  EXPECT_EQ(refusal<Counts>(R"({"":true})").message(), "[\"\"]: expected an integer, found a boolean");
  EXPECT_EQ((refusal<std::map<std::string, Counts>>(R"({"a.b":{"1\u00e9":true}})").message()),
            "[\"a.b\"][\"1\u00e9\"]: expected an integer, found a boolean");
}

TEST(DecodingErrorTest, tellsWhereTheTextStopsBeingJSON) {
  const std::pair<const char*, const char*> samples[] = {
      {"", "the text is not JSON: expected a value at byte 0, where the text ends"},
      {"  ", "the text is not JSON: expected a value at byte 2, where the text ends"},
      {"x", "the text is not JSON: expected a value at byte 0"},
      {"{", "the text is not JSON: expected a key in quotes at byte 1, where the text ends"},
      {"{1}", "the text is not JSON: expected a key in quotes at byte 1"},
      {"{\"items\"}", "the text is not JSON: expected a colon at byte 8"},
      {"{\"items\":}", "the text is not JSON: expected a value at byte 9"},
      {"{\"items\":[]", "the text is not JSON: expected a comma or a closing brace at byte 11, where the text ends"},
      {"{\"items\":[],}", "the text is not JSON: expected a key in quotes at byte 12"},
      {"{\"items\":[]}}", "the text is not JSON: expected the end of the document at byte 12"},
      {"{\"other\":01}", "the text is not JSON: expected no digit after the leading 0 of a number at byte 10"},
      {"{\"other\":-}", "the text is not JSON: expected a digit of a number at byte 10"},
  };
  for (const auto& [json, problem] : samples) {
    const DecodingError error = refusal<Document>(json);

    EXPECT_EQ(error.problem(), problem) << json;
    EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  }
}

TEST(DecodingErrorTest, countsBytesFromAByteOrderMarkOn) {
  EXPECT_EQ(refusal<Document>("\xEF\xBB\xBF{\"items\":1}").byteOffset(), 12U);
}

TEST(DecodingErrorTest, isMadeForCodecsThatKnowMore) {
  const DecodingError::Location location{{CodingKey("a"), CodingKey(std::size_t{2})}, 7};

  EXPECT_EQ(DecodingError::keyNotFound("b", location).message(), "a[2]: the key \"b\" is missing");
  EXPECT_EQ(DecodingError::typeMismatch("no", location).message(), "a[2]: no");
  EXPECT_EQ(DecodingError::valueNotFound("no", location).which(), DecodingError::Case::valueNotFound);
  EXPECT_EQ(DecodingError::dataCorrupted("no", location).byteOffset(), 7U);
}

TEST(CodingKeyTest, isANameOrAnIndex) {
  EXPECT_EQ(CodingKey("a").name(), "a");
  EXPECT_EQ(CodingKey("a").index(), std::nullopt);
  EXPECT_EQ(CodingKey(std::size_t{3}).index(), 3U);
  EXPECT_EQ(CodingKey(std::size_t{3}).name(), "");
  EXPECT_NE(CodingKey("3"), CodingKey(std::size_t{3}));
}

TEST(CodingKeyTest, isWrittenAsProgrammersDo) {
  const Path path{CodingKey("items"),
                  CodingKey(std::size_t{3}),
                  CodingKey(std::size_t{0}),
                  CodingKey("$ref_1"),
                  CodingKey("Content-Type"),
                  CodingKey("a.b"),
                  CodingKey(""),
                  CodingKey("id")};

  EXPECT_EQ(description(path), "items[3][0].$ref_1[\"Content-Type\"][\"a.b\"][\"\"].id");
  EXPECT_EQ(description({}), "");
}

}  // namespace
}  // namespace platform
