#include "Platform/Foundation/AnyValue.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>

#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/URL.hpp"

namespace {

using platform::AnyValue;
using platform::Data;
using platform::Dictionary;
using platform::TypeValue;
using testing::Optional;

struct Point {
  int x = 0;
  int y = 0;
  friend std::ostream& operator<<(std::ostream& stream, const Point& point) {
    return stream << '(' << point.x << '|' << point.y << ')';
  }
};

struct Unprintable {};
enum class Scoped { one };

TEST(AnyValueTest, describesIntegersInDecimal) {
  EXPECT_EQ(AnyValue(42).description(), "42");
  EXPECT_EQ(AnyValue(-1L).description(), "-1");
  EXPECT_EQ(AnyValue(std::numeric_limits<std::int64_t>::min()).description(), "-9223372036854775808");
  EXPECT_EQ(AnyValue(std::numeric_limits<std::uint64_t>::max()).description(), "18446744073709551615");
  EXPECT_EQ(AnyValue(static_cast<std::int8_t>(65)).description(), "65");
  EXPECT_EQ(AnyValue(static_cast<std::uint8_t>(200)).description(), "200");
}

TEST(AnyValueTest, describesRealNumbersByTheShortestDecimal) {
  EXPECT_EQ(AnyValue(1.0).description(), "1.0");
  EXPECT_EQ(AnyValue(0.9).description(), "0.9");
  EXPECT_EQ(AnyValue(1.0 - 0.1 * 3).description(), "0.7");
  EXPECT_EQ(AnyValue(0.1 + 0.2).description(), "0.30000000000000004");
  EXPECT_EQ(AnyValue(-0.0).description(), "-0.0");
  EXPECT_EQ(AnyValue(100000.0).description(), "100000.0");
  EXPECT_EQ(AnyValue(18014398509481984.0).description(), "18014398509481984.0");
  EXPECT_EQ(AnyValue(1e17).description(), "1e+17");
  EXPECT_EQ(AnyValue(0.0001).description(), "0.0001");
  EXPECT_EQ(AnyValue(0.00001).description(), "1e-05");
  EXPECT_EQ(AnyValue(std::numeric_limits<double>::max()).description(), "1.7976931348623157e+308");
  EXPECT_EQ(AnyValue(std::numeric_limits<double>::infinity()).description(), "inf");
  EXPECT_EQ(AnyValue(-std::numeric_limits<double>::infinity()).description(), "-inf");
  EXPECT_EQ(AnyValue(std::numeric_limits<double>::quiet_NaN()).description(), "nan");
}

TEST(AnyValueTest, takesAFloatByItsShortestDecimal) {
  EXPECT_EQ(AnyValue(0.1F).description(), "0.1");
  EXPECT_EQ(AnyValue(16777216.0F).description(), "16777216.0");
  EXPECT_EQ(AnyValue(std::numeric_limits<float>::infinity()).description(), "inf");
}

TEST(AnyValueTest, describesBooleansAndNull) {
  EXPECT_EQ(AnyValue(true).description(), "true");
  EXPECT_EQ(AnyValue(false).description(), "false");
  EXPECT_EQ(AnyValue().description(), "null");
}

TEST(AnyValueTest, describesTextAsItIs) {
  const char* none = nullptr;
  char mutableText[] = "mutable";

  EXPECT_EQ(AnyValue("a b").description(), "a b");
  EXPECT_EQ(AnyValue(std::string("a\0b", 3)).description(), std::string("a\0b", 3));
  EXPECT_EQ(AnyValue(std::string_view("view")).description(), "view");
  EXPECT_EQ(AnyValue(mutableText).description(), "mutable");
  EXPECT_EQ(AnyValue(static_cast<char*>(mutableText)).description(), "mutable");
  EXPECT_TRUE(AnyValue(none).isNull());
  EXPECT_TRUE(AnyValue(nullptr).isNull());
}

TEST(AnyValueTest, takesACharacterAsText) { EXPECT_THAT(AnyValue('x').text(), testing::Pointee(std::string("x"))); }

TEST(AnyValueTest, describesBytesTypesListsAndDictionaries) {
  EXPECT_EQ(AnyValue(Data("12345")).description(), "5 bytes");
  EXPECT_EQ(AnyValue(TypeValue{&typeid(Data)}).description(), "platform::Data");
  EXPECT_EQ(AnyValue(AnyValue::List{1, "b", AnyValue::List{}}).description(), "[1, b, []]");
  EXPECT_EQ(AnyValue(Dictionary{{"a", 1}, {"b", Dictionary{}}}).description(), "[a: 1, b: [:]]");
}

TEST(AnyValueTest, makesADeferredDictionaryOnlyWhenItIsAskedFor) {
  int made = 0;
  const AnyValue value(AnyValue::Deferred([&made] { return Dictionary{{"made", ++made}}; }));

  EXPECT_EQ(made, 0);
  ASSERT_NE(value.deferred(), nullptr);
  const Dictionary dictionary = (*value.deferred())();

  EXPECT_EQ(dictionary, (Dictionary{{"made", 1}}));
  EXPECT_EQ(value.description(), "[made: 2]");
}

TEST(AnyValueTest, takesAFunctionWithoutCapturesAsADeferredDictionary) {
  const AnyValue value([] { return Dictionary{{"key", "value"}}; });

  ASSERT_NE(value.deferred(), nullptr);
  EXPECT_EQ(value.description(), "[key: value]");
}

TEST(AnyValueTest, rendersAnythingPrintableAtOnce) {
  Point point{1, 2};
  const AnyValue value(point);
  point.x = 9;

  EXPECT_EQ(value.description(), "(1|2)");
  EXPECT_TRUE(value.isText());
  EXPECT_EQ(AnyValue(platform::URL("http://h/")).description(), "http://h/");
}

TEST(AnyValueTest, givesItsContentByKindAndNothingElse) {
  EXPECT_THAT(AnyValue(true).boolean(), Optional(true));
  EXPECT_EQ(AnyValue(1).boolean(), std::nullopt);
  EXPECT_THAT(AnyValue(7U).integer(), Optional(7));
  EXPECT_EQ(AnyValue(true).integer(), std::nullopt);
  EXPECT_EQ(AnyValue(7.0).integer(), std::nullopt);
  EXPECT_THAT(AnyValue(7).number(), Optional(7.0));
  EXPECT_THAT(AnyValue(7.5).number(), Optional(7.5));
  EXPECT_EQ(AnyValue("7").number(), std::nullopt);
  EXPECT_EQ(AnyValue(Data("x")).text(), nullptr);
  EXPECT_EQ(*AnyValue(Data("x")).data(), Data("x"));
  EXPECT_EQ(AnyValue("x").data(), nullptr);
  EXPECT_EQ(AnyValue(AnyValue::List{1, 2}).list()->size(), 2U);
  EXPECT_EQ(AnyValue(Dictionary{{"a", 1}}).dictionary()->count(), 1U);
  EXPECT_EQ(AnyValue(TypeValue{&typeid(int)}).type()->name(), "int");
  EXPECT_EQ(AnyValue().list(), nullptr);
}

TEST(AnyValueTest, tellsIntegersThatExceedTheSignedRange) {
  const AnyValue large(std::uint64_t{1} << 63);

  EXPECT_EQ(large.integer(), std::nullopt);
  EXPECT_THAT(large.unsignedInteger(), Optional(std::uint64_t{1} << 63));
  EXPECT_THAT(large.number(), Optional(9223372036854775808.0));
  EXPECT_THAT(AnyValue(5).unsignedInteger(), Optional(5U));
  EXPECT_EQ(AnyValue(-5).unsignedInteger(), std::nullopt);
}

TEST(AnyValueTest, isEqualByKindAndContent) {
  EXPECT_EQ(AnyValue(5), AnyValue(5U));
  EXPECT_NE(AnyValue(5), AnyValue(5.0));
  EXPECT_NE(AnyValue(1), AnyValue(true));
  EXPECT_EQ(AnyValue("a"), AnyValue(std::string("a")));
  EXPECT_NE(AnyValue("a"), AnyValue(Data("a")));
  EXPECT_EQ(AnyValue(), AnyValue(nullptr));
  EXPECT_EQ(AnyValue(AnyValue::List{1, "b"}), AnyValue(AnyValue::List{1, "b"}));
  EXPECT_NE(AnyValue(AnyValue::List{1, "b"}), AnyValue(AnyValue::List{1}));
  EXPECT_EQ(AnyValue(TypeValue{&typeid(int)}), AnyValue(TypeValue{&typeid(int)}));
  EXPECT_EQ(AnyValue(Dictionary{{"a", 1}}), AnyValue(Dictionary{{"a", 1}}));
  EXPECT_EQ(AnyValue(2.5), AnyValue(2.5));
  EXPECT_EQ(AnyValue(UINT64_MAX), AnyValue(UINT64_MAX));

  const AnyValue deferred(AnyValue::Deferred([] { return Dictionary(); }));
  EXPECT_FALSE(deferred == deferred);
}

TEST(AnyValueTest, isNullAfterBeingMovedFrom) {
  AnyValue source("text");

  const AnyValue target = std::move(source);

  EXPECT_EQ(target.description(), "text");
  EXPECT_TRUE(source.isNull());  // NOLINT(bugprone-use-after-move): that is the promise
  EXPECT_EQ(source, AnyValue());
}

TEST(AnyValueTest, survivesAssignmentToItself) {
  AnyValue value("text");
  AnyValue& same = value;

  value = same;
  value = std::move(same);

  EXPECT_EQ(value.description(), "text");
}

TEST(AnyValueTest, mayContainItselfAsItWas) {
  AnyValue value(1);
  value = AnyValue::List{value, value};
  value = AnyValue::List{value, 2};

  EXPECT_EQ(value.description(), "[[1, 1], 2]");
}

static_assert(!std::is_constructible_v<AnyValue, int*>, "a pointer must not become a boolean");
static_assert(!std::is_constructible_v<AnyValue, const void*>);
static_assert(!std::is_constructible_v<AnyValue, const Unprintable*>);
static_assert(!std::is_constructible_v<AnyValue, wchar_t>, "text is bytes");
static_assert(!std::is_constructible_v<AnyValue, char16_t>);
static_assert(!std::is_constructible_v<AnyValue, char32_t>);
static_assert(!std::is_constructible_v<AnyValue, const char16_t*>);
static_assert(!std::is_constructible_v<AnyValue, Unprintable>);
static_assert(!std::is_constructible_v<AnyValue, Scoped>);
static_assert(std::is_convertible_v<const char*, AnyValue>);
static_assert(std::is_nothrow_move_constructible_v<AnyValue>);
static_assert(sizeof(AnyValue) <= 32);

}  // namespace
