#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform::json_enumerations {

enum class Level : std::int8_t { low = -1, normal, high };
enum class Mask : std::uint64_t { none, all = UINT64_MAX };
enum Plain : int { first = 1, second };
enum class Flag : bool { off, on };

enum class Suit { hearts, spades, unnamed };
/// Without a fixed underlying type.
enum Weather { sunny, rainy };
enum Season { spring, summer };

struct Card {
  Suit suit;
  std::optional<Level> level;
};

}  // namespace platform::json_enumerations

template <>
struct platform::JSONCodec<platform::json_enumerations::Suit> {
  using enum json_enumerations::Suit;
  static constexpr JSONName<json_enumerations::Suit> names[] = {{hearts, "Hearts"}, {spades, "\u2660"}};
};
template <>
struct platform::JSONCodec<platform::json_enumerations::Weather> {
  static constexpr JSONName<json_enumerations::Weather> names[] = {{json_enumerations::sunny, "sunny"},
                                                                   {json_enumerations::rainy, "rainy"}};
};

namespace platform::json_enumerations {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::encodingRefusal;
using platform::testing::refusal;
using platform::testing::refusalMessage;

TEST(JSONEnumerationTest, isReadAndWrittenByValue) {
  EXPECT_EQ(decoded<Level>("-1"), Level::low);
  EXPECT_EQ(decoded<Level>("1.0"), Level::high);
  EXPECT_EQ(decoded<Mask>("18446744073709551615"), Mask::all);
  EXPECT_EQ(decoded<Plain>("2"), second);
  EXPECT_EQ(encoded(Level::low), "-1");
  EXPECT_EQ(encoded(Mask::all), "18446744073709551615");
  EXPECT_EQ(encoded(std::vector{first, second}), "[1,2]");
}

TEST(JSONEnumerationTest, takesAnyNumberOfItsUnderlyingTypeAndNoOther) {
  EXPECT_EQ(static_cast<int>(decoded<Level>("99")), 99);
  EXPECT_EQ(refusalMessage<Level>("128"), "the number 128 does not fit into a signed integer of 8 bits");
  EXPECT_EQ(refusalMessage<Mask>("-1"), "the number -1 does not fit into an unsigned integer of 64 bits");
  EXPECT_EQ(refusalMessage<Level>("\"low\""), "expected an integer, found a string");
}

TEST(JSONEnumerationTest, ofBooleansIsABoolean) {
  EXPECT_EQ(decoded<Flag>("true"), Flag::on);
  EXPECT_EQ(encoded(Flag::off), "false");
}

TEST(JSONEnumerationTest, isReadAndWrittenByNameWhereItHasNames) {
  EXPECT_EQ(decoded<Suit>(R"("Hearts")"), Suit::hearts);
  EXPECT_EQ(decoded<Suit>(R"("\u2660")"), Suit::spades);
  EXPECT_EQ(encoded(Suit::spades), "\"\u2660\"");
  EXPECT_EQ(decoded<Weather>(R"("rainy")"), rainy);
  EXPECT_EQ(encoded(sunny), R"("sunny")");
}

TEST(JSONEnumerationTest, readsOneWithoutAFixedTypeByItsNumber) {
  EXPECT_EQ(decoded<Season>("1"), summer);
  EXPECT_EQ(encoded(summer), "1");
  EXPECT_THROW(decoded<Season>("4294967296"), DecodingError);
  EXPECT_THROW(decoded<Season>("\"summer\""), DecodingError);
}

TEST(JSONEnumerationTest, refusesNamesThatItDoesNotHave) {
  const DecodingError error = refusal<std::vector<Card>>(R"([{"suit":"Hearts"},{"suit": "hearts"}])");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message(), "[1].suit: \"hearts\" is no name of this enumeration");
  EXPECT_EQ(error.byteOffset(), 28U);
  EXPECT_EQ(refusalMessage<Suit>("0"), "expected a string, found a number");
}

TEST(JSONEnumerationTest, cannotBeWrittenWithoutAName) {
  const EncodingError error = encodingRefusal(std::vector{Card{Suit::spades, {}}, Card{Suit::unnamed, {}}});

  EXPECT_EQ(error.message(), "[1].suit: the enumeration has no name for the value 2");
}

TEST(JSONEnumerationTest, standsInModelsAndMaps) {
  const auto card = decoded<Card>(R"({"level":1,"suit":"Hearts"})");

  EXPECT_EQ(card.suit, Suit::hearts);
  EXPECT_EQ(card.level, Level::high);
  EXPECT_EQ((encoded(std::map<std::string, Suit>{{"a", Suit::hearts}})), R"({"a":"Hearts"})");
}

}  // namespace
}  // namespace platform::json_enumerations
