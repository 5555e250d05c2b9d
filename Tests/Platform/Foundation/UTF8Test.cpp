#include "Platform/Foundation/UTF8.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using platform::isValidUTF8;
using platform::utf8CharacterLength;

/// The bytes that a code point would have by the pattern of UTF-8, whether it may have them or not.
std::string encoded(std::uint32_t codePoint) {
  const auto tail = [&](unsigned shift) { return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F)); };
  if (codePoint < 0x80) return {static_cast<char>(codePoint)};
  if (codePoint < 0x800) return {static_cast<char>(0xC0 | (codePoint >> 6)), tail(0)};
  if (codePoint < 0x10000) return {static_cast<char>(0xE0 | (codePoint >> 12)), tail(6), tail(0)};
  return {static_cast<char>(0xF0 | (codePoint >> 18)), tail(12), tail(6), tail(0)};
}

TEST(UTF8Test, acceptsExactlyTheCodePointsThatExist) {
  for (std::uint32_t codePoint = 0; codePoint < 0x1FFFFF; ++codePoint) {
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    const bool exists = codePoint <= 0x10FFFF && !isSurrogate;

    const std::string text = encoded(codePoint);

    ASSERT_EQ(isValidUTF8(text), exists) << codePoint;
    ASSERT_EQ(utf8CharacterLength(text), exists ? text.size() : 0) << codePoint;
  }
}

TEST(UTF8Test, refusesOverlongForms) {
  for (const char* text : {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xF0\x80\x80\x80",
                           "\xF0\x8F\xBF\xBF", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF"}) {
    EXPECT_FALSE(isValidUTF8(text));
  }
}

TEST(UTF8Test, refusesCharactersThatAreCutOff) {
  for (const std::uint32_t codePoint : {0xE4U, 0x20ACU, 0x1F600U}) {
    std::string text = encoded(codePoint);
    while (text.size() > 1) {
      text.pop_back();
      EXPECT_FALSE(isValidUTF8(text));
      EXPECT_FALSE(isValidUTF8(text + "a"));
      EXPECT_FALSE(isValidUTF8(text + "\xC3\xA4"));
    }
  }
  EXPECT_FALSE(isValidUTF8("\x80"));
}

TEST(UTF8Test, findsABadByteAtEveryPlace) {
  for (const std::size_t length : {1U, 31U, 32U, 33U, 64U, 100U}) {
    for (std::size_t place = 0; place < length; ++place) {
      std::string text(length, 'a');
      ASSERT_TRUE(isValidUTF8(text));

      text[place] = '\xFF';

      ASSERT_FALSE(isValidUTF8(text)) << length << ' ' << place;
    }
  }
}

TEST(UTF8Test, acceptsLongMixedText) {
  std::string text;
  for (std::uint32_t round = 0; round < 1000; ++round) {
    text.append(round % 70, 'x').append(encoded(0x100 + round)).append(encoded(0x1F600));
  }

  EXPECT_TRUE(isValidUTF8(text));
  EXPECT_TRUE(isValidUTF8(""));
}

}  // namespace
