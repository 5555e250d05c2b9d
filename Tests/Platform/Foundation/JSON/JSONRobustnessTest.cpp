#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <variant>
#include <vector>

#include "Platform/Foundation/JSON/EncodingError.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

enum class Switch : bool { off, on };
struct Card {
  int cardNumber = 0;
};
struct Transfer {
  std::string iban;
};
struct Payment {
  std::variant<std::optional<Card>, Transfer> by;
};
struct Leaf {
  std::string text;
};
struct Node {
  std::vector<std::variant<Node, Leaf>> in;
};
/// Its decisive key comes last.
struct Late {
  std::vector<std::variant<Late, Leaf>> in;
  int end = 0;
};
struct LongName {
  int aNameThatIsLongerThanThePaddingAfterEveryDocumentIsAndThenSomeMoreOfItStillAndMore = 0;
};
struct Named {
  int a = 0;
};
struct Flag {
  bool isSet = false;
};
struct Flagged {
  std::optional<Flag> flag;
};
struct Lossy {
  std::optional<Card> card;
};

}  // namespace

template <>
struct JSONCodec<Named> {
  static constexpr JSONKey keys[] = {{"a", ""}};
};
template <>
struct JSONCodec<std::optional<Flag>> {
  static std::optional<Flag> decode(JSONReader& reader) {
    return reader.takeNull() ? std::nullopt : std::optional(Flag{reader.decode<bool>()});
  }
  static void encode(const std::optional<Flag>& flag, JSONWriter& writer) {
    if (flag) return writer.encode(flag->isSet);
    writer.writeNull();
  }
};
template <>
struct JSONCodec<Lossy> {
  static Lossy decode(JSONReader& reader) { return {reader.decodeIfValid<Card>()}; }
};

namespace {

template <class T>
T decoded(const std::string& text, const JSONStrategies& strategies = {}) {
  return JSONDecoder(strategies).decode<T>(Data(text));
}

TEST(JSONValueTest, mayBeAssignedAPartOfItself) {
  JSONValue value = decoded<JSONValue>(R"({"data":{"list":[[1,"text that is long enough for the heap"]]}})");

  value = value["data"];
  value = value["list"];
  value = std::move((*value.array())[0]);

  EXPECT_EQ(value, decoded<JSONValue>(R"([1,"text that is long enough for the heap"])"));
}

TEST(JSONObjectTest, takesAMemberOfItsOwnForANewOne) {
  JSONObject object{{"a", "text that is long enough for the heap"}};

  for (const char* const key : {"b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l", "m", "n"})
    object[key] = object["a"];
  object = *JSONValue(JSONObject{{"inner", object}}).object()->find("inner")->object();

  EXPECT_EQ(object.size(), 14u);
  EXPECT_EQ(*object.find("n"), "text that is long enough for the heap");
}

TEST(JSONObjectTest, copiesWhatLeadsToItsMembers) {
  JSONObject object;
  for (int index = 0; index < 100; ++index) object[std::to_string(index)] = index;

  JSONObject copy = object;
  object = {};
  JSONObject moved = std::move(copy);
  moved.remove("7");

  EXPECT_EQ(moved.size(), 99u);
  EXPECT_EQ(*moved.find("42"), 42);
  EXPECT_FALSE(moved.find("7"));
  EXPECT_FALSE(moved.remove("7"));
}

TEST(JSONWriterTest, keepsTheKeyThatAnErrorNames) {
  JSONWriter writer;
  JSONWriter::Object object(writer);
  object.key(std::string("a key that does not outlive this line"));

  try {
    writer.encode(NAN);
    FAIL() << "no error";
  } catch (const EncodingError& error) {
    EXPECT_THAT(error.message(), testing::StartsWith("[\"a key that does not outlive this line\"]: "));
  }
}

TEST(DecodingFieldTableTest, staysWithinThePaddingOfADocument) {
  EXPECT_THROW(decoded<LongName>("{"), DecodingError);
  EXPECT_THROW(decoded<LongName>(R"({"a":1})"), DecodingError);
  const Data written = JSONEncoder().encode(LongName{7});
  EXPECT_EQ(JSONDecoder()
                .decode<LongName>(written)
                .aNameThatIsLongerThanThePaddingAfterEveryDocumentIsAndThenSomeMoreOfItStillAndMore,
            7);
}

std::string nested(std::size_t depth, const std::string& inside, const std::string& after) {
  std::string text;
  for (std::size_t level = 0; level < depth; ++level) text += R"({"in":[)";
  text += inside;
  for (std::size_t level = 0; level < depth; ++level) text += "]" + after + "}";
  return text;
}

TEST(JSONVariantTest, looksNoFurtherThanTheKeysThatDecide) {
  const std::string leaf = R"({"text":")" + std::string(100'000, 'x') + "\"}";

  const auto node = decoded<Node>(nested(200, leaf, ""));

  ASSERT_EQ(node.in.size(), 1u);
  EXPECT_EQ(node.in[0].index(), 0u);
}

TEST(JSONVariantTest, refusesToLookAgainAndAgain) {
  const std::string leaf = R"({"text":")" + std::string(10'000, 'x') + "\"}";

  EXPECT_EQ(decoded<Late>(nested(20, leaf, R"(,"end":1)")).end, 1);
  EXPECT_THROW(decoded<Late>(nested(200, leaf, R"(,"end":1)")), DecodingError);
}

TEST(JSONVariantTest, choosesByTheKeysOfAnOptionalToo) {
  EXPECT_EQ(decoded<Payment>(R"({"by":{"iban":"DE"}})").by.index(), 1u);
  EXPECT_EQ(decoded<Payment>(R"({"by":{"cardNumber":1}})").by.index(), 0u);
}

TEST(JSONVariantTest, takesAnEnumerationOfBooleansForABoolean) {
  using Either = std::variant<Switch, int>;

  EXPECT_EQ(decoded<Either>("true"), Either(Switch::on));
  EXPECT_EQ(decoded<Either>("1"), Either(1));
}

TEST(JSONKeysTest, mayBeEmpty) {
  EXPECT_EQ(decoded<Named>(R"({"":7})").a, 7);
  EXPECT_EQ(JSONEncoder().encode(Named{7}).view(), R"({"":7})");
}

TEST(JSONOptionalTest, mayHaveACodecOfItsOwn) {
  EXPECT_EQ(JSONEncoder().encode(Flagged{}).view(), R"({"flag":null})");
  EXPECT_TRUE(decoded<Flagged>(R"({"flag":true})").flag->isSet);
}

TEST(JSONReaderTest, goesOnAfterWhatIsNotAsItShouldBe) {
  const auto cards =
      decoded<std::vector<Lossy>>(R"([{"cardNumber":1},{"cardNumber":"2","more":[{}]},[],{},7,{"cardNumber":3}])");

  ASSERT_EQ(cards.size(), 6u);
  EXPECT_EQ(cards[0].card->cardNumber, 1);
  for (const std::size_t index : {1u, 2u, 3u, 4u}) EXPECT_FALSE(cards[index].card);
  EXPECT_EQ(cards[5].card->cardNumber, 3);
}

TEST(JSONReaderTest, doesNotGoOnAfterWhatIsNoJSON) {
  EXPECT_THROW(decoded<std::vector<Lossy>>(R"([{"cardNumber":1},{"cardNumber":}])"), DecodingError);
}

TEST(JSONFormattingTest, doesNotMakeAHugeDocumentOfADeepOne) {
  std::string text = std::string(500, '[');
  for (int index = 0; index < 1000; ++index) text += "1,";
  text += "1" + std::string(500, ']');

  EXPECT_LT(prettyPrintedJSON(Data(text)).count(), 150'000u);
}

template <class Duration>
void expectTimesToReadBack(JSONDateStrategy dates) {
  std::mt19937_64 random(7);
  const JSONStrategies strategies{.dates = dates};
  for (int round = 0; round < 20'000; ++round) {
    const auto count = static_cast<std::int64_t>(random()) >> (random() % 40);
    const std::chrono::sys_time<Duration> time{Duration(count)};
    const Data document = JSONEncoder(strategies).encode(time);
    ASSERT_EQ(JSONDecoder(strategies).decode<std::chrono::sys_time<Duration>>(document), time) << document.view();
  }
}

TEST(JSONDateTest, readsBackEveryTickOfANumber) {
  expectTimesToReadBack<std::chrono::nanoseconds>(JSONDateStrategy::secondsSince1970);
  expectTimesToReadBack<std::chrono::nanoseconds>(JSONDateStrategy::millisecondsSince1970);
  expectTimesToReadBack<std::chrono::microseconds>(JSONDateStrategy::millisecondsSince1970);
  expectTimesToReadBack<std::chrono::milliseconds>(JSONDateStrategy::secondsSince1970);
}

TEST(JSONDateTest, dropsWhatIsLessThanATick) {
  using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;
  const JSONStrategies strategies{.dates = JSONDateStrategy::secondsSince1970};
  const auto count = [&](const char* text) {
    return decoded<Milliseconds>(text, strategies).time_since_epoch().count();
  };

  EXPECT_EQ(count("1700000000.1239998"), 1700000000123);
  EXPECT_EQ(count("1.7000000001239998e9"), 1700000000123);
  EXPECT_EQ(count("-0.0001"), -1);
  EXPECT_EQ(count("-0.001"), -1);
  EXPECT_EQ(count("-1e-30"), -1);
  EXPECT_EQ(count("0e99"), 0);
  EXPECT_EQ(count("12E2"), 1'200'000);
  EXPECT_THROW(count("1e30"), DecodingError);
  EXPECT_THROW(count("1e99999999999999999999"), DecodingError);
  EXPECT_EQ(count("1e-99999999999999999999"), 0);
}

}  // namespace
}  // namespace platform
