#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform::json_custom {

/// Written as text like "12.50 EUR", and without a default constructor.
class Money {
 public:
  Money(long cents, std::string currency) : cents_(cents), currency_(std::move(currency)) {}

  long cents() const { return cents_; }
  const std::string& currency() const { return currency_; }

 private:
  long cents_;
  std::string currency_;
};

struct BankError final : std::runtime_error {
  BankError() : std::runtime_error("the bank is closed"), code(7) {}
  int code;
};

struct ReadOnly {
  int value = 0;
};
class WriteOnly {
 public:
  explicit WriteOnly(int value) : value_(value) {}
  int value() const { return value_; }

 private:
  int value_;
};
struct Ignored {};
struct Point {
  int x;
  int y;
};
struct Positive {
  Point point;
};
struct Recovering {
  double number;
};

}  // namespace platform::json_custom

namespace platform {

template <>
struct JSONCodec<json_custom::Money> {
  static json_custom::Money decode(JSONReader& reader) {
    const auto text = reader.decode<std::string>();
    if (text == "closed") throw json_custom::BankError();
    if (text.size() < 8) reader.fail("the text is no amount of money");
    const std::size_t point = text.size() - 7;
    return {std::stol(text.substr(0, point)) * 100 + std::stol(text.substr(point + 1, 2)), text.substr(point + 4)};
  }
  static void encode(const json_custom::Money& money, JSONWriter& writer) {
    if (money.currency() == "closed") throw json_custom::BankError();
    if (money.currency().size() != 3) writer.fail("the currency has not three letters");
    const std::string cents = std::to_string(100 + money.cents() % 100).substr(1);
    writer.encode(std::to_string(money.cents() / 100) + "." + cents + " " + money.currency());
  }
  static json_custom::Money placeholder() { return {0, ""}; }
};
template <>
struct JSONCodec<json_custom::ReadOnly> {
  static json_custom::ReadOnly decode(JSONReader& reader) { return {reader.decode<int>() * 2}; }
};
template <>
struct JSONCodec<json_custom::WriteOnly> {
  static void encode(const json_custom::WriteOnly& value, JSONWriter& writer) { writer.encode(value.value()); }
};
/// Reads nothing and writes nothing.
template <>
struct JSONCodec<json_custom::Ignored> {
  static json_custom::Ignored decode(JSONReader&) { return {}; }
  static void encode(const json_custom::Ignored&, JSONWriter&) {}
};
/// Judges what it has read.
template <>
struct JSONCodec<json_custom::Positive> {
  static json_custom::Positive decode(JSONReader& reader) {
    const auto point = reader.decode<json_custom::Point>();
    if (point.x < 0 || point.y < 0) reader.fail("the point is negative");
    return {point};
  }
};
/// Fails in its own words when what it writes fails.
template <>
struct JSONCodec<json_custom::Recovering> {
  struct Inner {
    std::vector<double> numbers;
  };
  static void encode(const json_custom::Recovering& value, JSONWriter& writer) {
    try {
      writer.encode(Inner{{value.number}});
    } catch (const EncodingError& error) {
      writer.fail("recovered from: " + error.message());
    }
  }
};

}  // namespace platform

namespace platform::json_custom {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::encodingRefusal;
using platform::testing::refusal;
using platform::testing::refusalMessage;

struct Order {
  int id = 0;
  Money price;
  std::optional<Money> discount;
  std::vector<Money> items;
  std::map<std::string, Money> taxes;
};

constexpr const char* orderText =
    R"({"id":7,"price":"12.50 EUR","discount":"1.00 EUR","items":["10.00 EUR","3.50 EUR"],"taxes":{"VAT":"1.99 EUR"}})";

TEST(JSONCustomCodecTest, readsAndWritesItsTypeWhereverItStands) {
  const auto order = decoded<Order>(orderText);

  EXPECT_EQ(order.price.cents(), 1250);
  EXPECT_EQ(order.discount->cents(), 100);
  EXPECT_EQ(order.items.at(1).cents(), 350);
  EXPECT_EQ(order.taxes.at("VAT").currency(), "EUR");
  EXPECT_EQ(encoded(order), orderText);
}

TEST(JSONCustomCodecTest, standsInVariants) {
  using Either = std::variant<int, Money>;

  EXPECT_EQ(std::get<Money>(decoded<Either>(R"("12.50 EUR")")).cents(), 1250);
  EXPECT_EQ(std::get<int>(decoded<Either>("12")), 12);
}

TEST(JSONCustomCodecTest, namesThePlaceWhenItFails) {
  const DecodingError error = refusal<Order>(R"({"id":7,"price":"12.50 EUR","items":["10.00 EUR", "x"]})");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message(), "items[1]: the text is no amount of money");
  EXPECT_EQ(error.byteOffset(), 50U);
  EXPECT_EQ(refusalMessage<Order>(R"({"price":7})"), "price: expected a string, found a number");
}

TEST(JSONCustomCodecTest, namesTheWholeValueWhenItFailsAfterIt) {
  const DecodingError error = refusal<std::vector<Positive>>(R"([{"x":1,"y":2}, {"x":1,"y":-2}])");

  EXPECT_EQ(error.message(), "[1]: the point is negative");
  EXPECT_EQ(error.byteOffset(), 16U);
}

TEST(JSONCustomCodecTest, letsErrorsOfItsOwnThroughUnchanged) {
  try {
    decoded<Order>(R"({"items":["10.00 EUR","closed"]})");
    FAIL() << "nothing was thrown";
  } catch (const BankError& error) {
    EXPECT_EQ(error.code, 7);
  }
  EXPECT_THROW(encoded(std::vector{Money(1, "EUR"), Money(1, "closed")}), BankError);
}

TEST(JSONCustomCodecTest, endsAVariantWithErrorsOfItsOwn) {
  using Either = std::variant<Money, std::string>;

  EXPECT_THROW(decoded<Either>(R"("closed")"), BankError);
  EXPECT_EQ(decoded<Either>(R"("x")").index(), 1U);
}

TEST(JSONCustomCodecTest, failsToWriteWithThePath) {
  const EncodingError error = encodingRefusal(Order{1, {1, "EUR"}, {}, {{2, "EUR"}, {3, "Euro"}}, {}});

  EXPECT_EQ(error.message(), "items[1]: the currency has not three letters");
}

TEST(JSONCustomCodecTest, mayReadOnlyOrWriteOnly) {
  struct Reading {
    ReadOnly value;
  };
  struct Writing {
    WriteOnly value;
  };

  EXPECT_EQ(decoded<Reading>(R"({"value":21})").value.value, 42);
  EXPECT_EQ(encoded(Reading{{5}}), R"({"value":{"value":5}})");
  EXPECT_EQ(encoded(Writing{WriteOnly(5)}), R"({"value":5})");
  static_assert(JSONReadable<Reading> && JSONWritable<WriteOnly>);
  static_assert(!JSONReadable<WriteOnly>);
}

TEST(JSONCustomCodecTest, mayLeaveItsValueUnread) {
  struct Holder {
    int before;
    Ignored ignored;
    int after;
  };

  EXPECT_EQ(decoded<Holder>(R"({"before":1,"ignored": {"a":[1,2]} ,"after":2})").after, 2);
  EXPECT_EQ(decoded<std::vector<Ignored>>("[1, [], {}]").size(), 3U);
  EXPECT_EQ((decoded<std::variant<int, Ignored>>("[7]").index()), 1U);
  EXPECT_NO_THROW(decoded<Ignored>(" {} "));
  EXPECT_EQ(refusalMessage<Ignored>("[1,"), "the text is not JSON: expected a value at byte 3, where the text ends");
}

TEST(JSONCustomCodecTest, mustWriteAValue) {
  EXPECT_EQ(encodingRefusal(std::map<std::string, Ignored>{{"a", {}}}).message(),
            "a: the codec of the type wrote no value");
}

TEST(JSONCustomCodecTest, mayFailInItsOwnWordsWhenWhatItWritesFails) {
  EXPECT_EQ(encodingRefusal(std::vector<Recovering>{{1}, {1.0 / 0.0}}).message(),
            "[1]: recovered from: [1].numbers[0]: JSON has no number for infinity");
}

}  // namespace
}  // namespace platform::json_custom
