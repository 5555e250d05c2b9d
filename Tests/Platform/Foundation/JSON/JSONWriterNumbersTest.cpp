#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;

template <class Real>
using BitsOf = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;

/// Those that matter, without zeros at either end.
std::string significantDigits(std::string_view number) {
  std::string digits;
  for (const char c : number.substr(0, number.find_first_of("eE"))) {
    if (c >= '0' && c <= '9' && (!digits.empty() || c != '0')) digits.push_back(c);
  }
  while (!digits.empty() && digits.back() == '0') digits.pop_back();
  return digits;
}

template <class Real>
class JSONWriterNumbersTest : public ::testing::Test {
 public:
  static void expectShortest(Real value) {
    const std::string text = encoded(value);
    char digits[64];
    const auto fewest = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::scientific);
    char shortest[64];
    const auto end = std::to_chars(shortest, shortest + sizeof shortest, value).ptr;

    ASSERT_EQ(std::bit_cast<BitsOf<Real>>(decoded<Real>(text)), std::bit_cast<BitsOf<Real>>(value)) << text;
    // "100000" is longer than "1e+05" and "16777216" has more digits than "1.677722e+07", but none is both.
    ASSERT_TRUE(significantDigits(text) == significantDigits({digits, fewest.ptr}) ||
                text.size() <= static_cast<std::size_t>(end - shortest))
        << text;
  }
};

using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(JSONWriterNumbersTest, RealTypes);

TYPED_TEST(JSONWriterNumbersTest, areTheShortestThatReadBackForRandomBitPatterns) {
  std::mt19937_64 random(20261121);
  for (int round = 0; round < 50'000; ++round) {
    const auto value = std::bit_cast<TypeParam>(static_cast<BitsOf<TypeParam>>(random()));
    if (std::isfinite(value)) this->expectShortest(value);
  }
}

TYPED_TEST(JSONWriterNumbersTest, areTheShortestThatReadBackForDecimalsOfFewDigits) {
  std::mt19937_64 random(8);
  const TypeParam scales[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
  for (int round = 0; round < 50'000; ++round) {
    const auto digits = static_cast<TypeParam>(random() >> (random() % 64));
    const TypeParam value = digits / scales[random() % std::size(scales)];
    this->expectShortest(value);
    this->expectShortest(-value);
    this->expectShortest(std::nextafter(value, TypeParam(0)));
  }
}

TYPED_TEST(JSONWriterNumbersTest, areTheShortestThatReadBackAtTheEdges) {
  using Limits = std::numeric_limits<TypeParam>;
  for (const TypeParam edge : {Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(), Limits::epsilon(),
                               TypeParam(0), -TypeParam(0), TypeParam(1e-4), TypeParam(22517998.13685248),
                               TypeParam(9007199254740992), TypeParam(1e21), TypeParam(1e22)}) {
    this->expectShortest(edge);
    if (edge != Limits::max()) this->expectShortest(std::nextafter(edge, Limits::max()));
    if (edge != Limits::lowest()) this->expectShortest(std::nextafter(edge, Limits::lowest()));
  }
}

TEST(JSONDoubleTest, isWrittenAsPeopleExpectIt) {
  EXPECT_EQ(encoded(std::vector{0.0, -0.0, 1.0, -1.5, 0.1, 100.0, 123456.789, 0.00012, 1e-5, 1e22, 1.5e300, 5e-324}),
            "[0,-0,1,-1.5,0.1,100,123456.789,0.00012,1e-5,1e22,1.5e300,5e-324]");
}

TEST(JSONFloatNumbersTest, areNotWrittenAsDoubles) {
  EXPECT_EQ(encoded(0.1F), "0.1");
  EXPECT_EQ(encoded(16777216.0F), "16777216");
  EXPECT_EQ(encoded(3.4028235e38F), "3.4028235e38");
}

}  // namespace
}  // namespace platform
