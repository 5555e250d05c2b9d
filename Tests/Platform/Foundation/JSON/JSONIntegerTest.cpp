#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "Platform/Foundation/Internal/Int128.hpp"
#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

using Wide = detail::Int128;

std::string textOf(Wide number) {
  std::string text;
  const bool isNegative = number < 0;
  for (Wide left = isNegative ? -number : number; left != 0 || text.empty(); left /= 10) {
    text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(left % 10)));
  }
  return isNegative ? "-" + text : text;
}

template <class T>
class JSONIntegerTest : public ::testing::Test {
 public:
  static constexpr Wide smallest = std::numeric_limits<T>::min();
  static constexpr Wide largest = std::numeric_limits<T>::max();
};

using IntegerTypes = ::testing::Types<signed char, unsigned char, char, short, unsigned short, int, unsigned, long,
                                      unsigned long, long long, unsigned long long, char16_t, char32_t, wchar_t>;
TYPED_TEST_SUITE(JSONIntegerTest, IntegerTypes);

TYPED_TEST(JSONIntegerTest, readsBothEndsOfItsRange) {
  EXPECT_EQ(static_cast<Wide>(decoded<TypeParam>(textOf(this->smallest))), this->smallest);
  EXPECT_EQ(static_cast<Wide>(decoded<TypeParam>(textOf(this->largest))), this->largest);
}

TYPED_TEST(JSONIntegerTest, refusesWhatIsOneBeyond) {
  const std::string kind = std::is_signed_v<TypeParam> ? "a signed integer of " : "an unsigned integer of ";
  const std::string name = kind + std::to_string(sizeof(TypeParam) * 8) + " bits";

  for (const Wide& number : {this->smallest - 1, this->largest + 1}) {
    const DecodingError error = refusal<TypeParam>(textOf(number));

    EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
    EXPECT_EQ(error.message(), "the number " + textOf(number) + " does not fit into " + name);
  }
}

TYPED_TEST(JSONIntegerTest, refusesWhatIsFarBeyond) {
  for (const char* number : {"18446744073709551616", "-9223372036854775809", "99999999999999999999999999999999999999",
                             "-100000000000000000000", "1e20", "-1e20", "1e400"}) {
    EXPECT_EQ(refusal<TypeParam>(number).which(), DecodingError::Case::dataCorrupted) << number;
  }
}

TYPED_TEST(JSONIntegerTest, readsZeroHoweverItIsWritten) {
  for (const char* zero : {"0", "-0", "0.0", "-0.0", "0e5", "0.000E-7", "0e99999999999"}) {
    EXPECT_EQ(decoded<TypeParam>(zero), TypeParam(0)) << zero;
  }
}

TYPED_TEST(JSONIntegerTest, readsWholeNumbersWithAPointOrAnExponent) {
  for (const char* hundred : {"100", "100.0", "1e2", "1E+2", "1.0e2", "10.00e1", "1000e-1", "100.000000000000000000000",
                              "0.0000000000000000000000001e27"}) {
    EXPECT_EQ(decoded<TypeParam>(hundred), TypeParam(100)) << hundred;
  }
}

TYPED_TEST(JSONIntegerTest, refusesWhatIsNotWhole) {
  for (const char* number : {"0.5", "1.5", "15e-1", "1e-1", "1e-400", "1.00000000000000000000000000001"}) {
    const DecodingError error = refusal<TypeParam>(number);

    EXPECT_EQ(error.which(), DecodingError::Case::typeMismatch) << number;
    EXPECT_EQ(error.message(), "expected an integer, found the number " + std::string(number));
  }
}

TYPED_TEST(JSONIntegerTest, readsBackWhatItWrites) {
  for (const Wide& number :
       {this->smallest, this->smallest + 1, Wide(0), Wide(1), this->largest / 2, this->largest - 1, this->largest}) {
    const std::string text = encoded(static_cast<TypeParam>(number));

    EXPECT_EQ(text, textOf(number));
    EXPECT_EQ(static_cast<Wide>(decoded<TypeParam>(text)), number);
  }
}

TYPED_TEST(JSONIntegerTest, isReadFromNumbersOnly) {
  EXPECT_EQ(refusalMessage<TypeParam>("\"1\""), "expected an integer, found a string");
  EXPECT_EQ(refusalMessage<TypeParam>("true"), "expected an integer, found a boolean");
  EXPECT_EQ(refusalMessage<TypeParam>("[1]"), "expected an integer, found an array");
  EXPECT_EQ(refusalMessage<TypeParam>("{}"), "expected an integer, found an object");
  EXPECT_EQ(refusalMessage<TypeParam>("null"), "expected an integer, found null");
}

TEST(JSONLargeIntegerTest, isExactWhereADoubleIsNot) {
  EXPECT_EQ(decoded<std::int64_t>("9007199254740993"), 9007199254740993);
  EXPECT_EQ(decoded<std::int64_t>("9007199254740993.0"), 9007199254740993);
  EXPECT_EQ(decoded<std::int64_t>("9223372036854775807.0"), INT64_MAX);
  EXPECT_EQ(decoded<std::int64_t>("-9.223372036854775808e18"), INT64_MIN);
  EXPECT_EQ(decoded<std::int64_t>("1e18"), 1'000'000'000'000'000'000);
  EXPECT_EQ(decoded<std::uint64_t>("1.8446744073709551615e19"), UINT64_MAX);
  EXPECT_EQ(refusal<std::int64_t>("4503599627370497.5").which(), DecodingError::Case::typeMismatch);
}

TEST(JSONLargeIntegerTest, isShortenedInMessages) {
  EXPECT_EQ(refusalMessage<int>(std::string(100, '7')),
            "the number " + std::string(40, '7') + "... does not fit into a signed integer of 32 bits");
}

}  // namespace
}  // namespace platform
