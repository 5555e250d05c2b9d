#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

template <class Real>
using BitsOf = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;

float fromStandardLibrary(const std::string& text, float) { return std::strtof(text.c_str(), nullptr); }
double fromStandardLibrary(const std::string& text, double) { return std::strtod(text.c_str(), nullptr); }

template <class Real>
class JSONRealTest : public ::testing::Test {
 public:
  static void expectExact(const std::string& text) {
    const auto expected = fromStandardLibrary(text, Real());
    if (std::isinf(expected)) {
      EXPECT_EQ(refusal<Real>(text).which(), DecodingError::Case::dataCorrupted) << text;
    } else {
      EXPECT_EQ(std::bit_cast<BitsOf<Real>>(decoded<Real>(text)), std::bit_cast<BitsOf<Real>>(expected)) << text;
    }
  }
};

using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(JSONRealTest, RealTypes);

TYPED_TEST(JSONRealTest, readsRandomBitPatternsExactlyHoweverManyDigitsTheyHave) {
  std::mt19937_64 random(20261121);
  for (int round = 0; round < 20'000; ++round) {
    const auto value = std::bit_cast<TypeParam>(static_cast<BitsOf<TypeParam>>(random()));
    if (!std::isfinite(value)) continue;
    char text[1100];
    const auto shortest = std::to_chars(text, text + sizeof text, value);
    this->expectExact(std::string(text, shortest.ptr));
    const auto precise = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, round % 30);
    this->expectExact(std::string(text, precise.ptr));
  }
}

TYPED_TEST(JSONRealTest, readsRandomDecimalsExactly) {
  std::mt19937_64 random(8259);
  for (int round = 0; round < 20'000; ++round) {
    std::string text = std::to_string(random() >> (random() % 64));
    text.append(".").append(std::to_string(random() >> (random() % 64)));
    if (round % 2 == 0) text.append("e").append(std::to_string(static_cast<int>(random() % 60) - 30));
    this->expectExact(text);
    this->expectExact("-" + text);
  }
}

TYPED_TEST(JSONRealTest, readsNumbersHalfWayBetweenTwoExactly) {
  std::mt19937_64 random(754);
  constexpr int digits = std::numeric_limits<TypeParam>::digits;
  for (int round = 0; round < 2'000; ++round) {
    // An odd number of one bit too many, and its neighbours one digit further.
    const std::uint64_t half = (random() >> (64 - digits - 1)) | 1U | std::uint64_t{1} << digits;
    for (const char* tail : {"", ".0", ".00000000000000000000000000001"})
      this->expectExact(std::to_string(half) + tail);
    this->expectExact(std::to_string(half - 1) + ".99999999999999999999999999999");
  }
}

TYPED_TEST(JSONRealTest, readsTheEndsOfItsRange) {
  using Limits = std::numeric_limits<TypeParam>;
  for (const TypeParam value : {Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(),
                                std::nextafter(Limits::min(), TypeParam(0)), Limits::epsilon()}) {
    char text[1400];
    const auto fixed = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 1'000);

    EXPECT_EQ(decoded<TypeParam>({text, static_cast<std::size_t>(fixed.ptr - text)}), value);
  }
}

TYPED_TEST(JSONRealTest, takesWhatIsTooSmallAsZeroWithItsSign) {
  for (const std::string small : {"1e-400", "4.9e-999999999999", "0.0000001e-500"}) {
    EXPECT_EQ(decoded<TypeParam>(small), TypeParam(0)) << small;
    EXPECT_FALSE(std::signbit(decoded<TypeParam>(small))) << small;
    EXPECT_TRUE(std::signbit(decoded<TypeParam>("-" + small))) << small;
  }
  EXPECT_EQ(decoded<TypeParam>("0." + std::string(5'000, '0') + "1"), TypeParam(0));
}

TYPED_TEST(JSONRealTest, refusesWhatIsTooLarge) {
  const std::string name = sizeof(TypeParam) == 4 ? "a float" : "a double";
  for (const std::string large : {"1e400", "-1e400", "1e99999999999999", "1234567e400"}) {
    const DecodingError error = refusal<TypeParam>(large);

    EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
    EXPECT_EQ(error.message(), "the number " + large + " is too large for " + name);
  }
  EXPECT_EQ(refusal<TypeParam>(std::string(5'000, '9')).which(), DecodingError::Case::dataCorrupted);
}

TYPED_TEST(JSONRealTest, readsManyDigits) {
  const std::string third = "0." + std::string(5'000, '3');
  EXPECT_EQ(decoded<TypeParam>(third), TypeParam(1) / 3);
  EXPECT_EQ(decoded<TypeParam>("1" + std::string(5'000, '0') + "e-5000"), TypeParam(1));
  EXPECT_EQ(decoded<TypeParam>("0." + std::string(5'000, '0') + "1e5001"), TypeParam(1));
}

TYPED_TEST(JSONRealTest, readsIntegersAndNegativeZero) {
  EXPECT_EQ(decoded<TypeParam>("7"), TypeParam(7));
  EXPECT_EQ(decoded<TypeParam>("16777217"), TypeParam(16777217));
  EXPECT_TRUE(std::signbit(decoded<TypeParam>("-0")));
  EXPECT_TRUE(std::signbit(decoded<TypeParam>("-0.0e7")));
}

TYPED_TEST(JSONRealTest, isReadFromNumbersOnly) {
  EXPECT_EQ(refusalMessage<TypeParam>("\"1.5\""), "expected a number, found a string");
  EXPECT_EQ(refusalMessage<TypeParam>("false"), "expected a number, found a boolean");
  EXPECT_EQ(refusalMessage<TypeParam>("null"), "expected a number, found null");
}

TEST(JSONFloatTest, refusesWhatOnlyADoubleCanHold) {
  EXPECT_EQ(refusalMessage<float>("3.5e38"), "the number 3.5e38 is too large for a float");
  EXPECT_EQ(decoded<double>("3.5e38"), 3.5e38);
}

TEST(JSONLongDoubleTest, isReadAndWrittenWithAllItsDigits) {
  const long double third = 1.0L / 3;

  EXPECT_EQ(decoded<long double>(platform::testing::encoded(third)), third);
  EXPECT_EQ(decoded<long double>("1e400"), 1e400L);
  EXPECT_EQ(decoded<long double>("0"), 0.0L);
  EXPECT_EQ(refusalMessage<long double>("1e9999"), "the number 1e9999 is too large for a long double");
}

}  // namespace
}  // namespace platform
