#include "Corvane/DebugOutput/Detail/BodyCache.hpp"

#include <gtest/gtest.h>

#include "Corvane/Settings.hpp"

namespace corvane {
namespace {

using platform::Data;

std::string summary(const std::string& bytes) { return detail::httpDebugSummary(Data(bytes)); }
std::string textSummary(const std::string& text) { return detail::httpDebugSummary(std::optional<std::string>(text)); }

// The key in `[N bytes: Corvane.httpDebugData("KEY")]`.
std::string keyOf(const std::string& summary) {
  const auto first = summary.find('"');
  return summary.substr(first + 1, summary.rfind('"') - first - 1);
}

TEST(BodyCacheTest, showsAnAbsentOrEmptyBodyAsZeroBytes) {
  EXPECT_EQ(detail::httpDebugSummary(std::optional<Data>()), "0 bytes");
  EXPECT_EQ(summary(""), "0 bytes");
}

TEST(BodyCacheTest, showsUpTo79BytesOfTextAsTheyAre) {
  const std::string text(79, 'x');

  EXPECT_EQ(summary(text), text);
}

TEST(BodyCacheTest, parksABodyOf80Bytes) {
  const std::string text(80, 'x');

  const std::string shown = summary(text);

  const std::string key = keyOf(shown);
  EXPECT_EQ(shown, "[80 bytes: Corvane.httpDebugData(\"" + key + "\")]");
  EXPECT_EQ(key.size(), 36u);
  EXPECT_EQ(Corvane::httpDebugData(key), platform::AnyValue(text));
}

TEST(BodyCacheTest, parksAShortBodyThatIsNoText) {
  const std::string bytes = "\xFF\xFE";

  const std::string shown = summary(bytes);

  EXPECT_EQ(shown.substr(0, 9), "[2 bytes:");
  EXPECT_EQ(Corvane::httpDebugData(keyOf(shown)), platform::AnyValue(Data(bytes)));
}

TEST(BodyCacheTest, showsUpTo80CharactersOfTextAsTheyAre) {
  std::string text;
  for (int i = 0; i < 80; ++i) text += "é";

  EXPECT_EQ(textSummary(text), text);
  EXPECT_EQ(textSummary(""), "");
  EXPECT_EQ(detail::httpDebugSummary(std::optional<std::string>()), "0 chars");
}

TEST(BodyCacheTest, parksATextOf81Characters) {
  const std::string text(81, 'x');

  const std::string shown = textSummary(text);

  EXPECT_EQ(shown, "[81 chars: Corvane.httpDebugData(\"" + keyOf(shown) + "\")]");
  EXPECT_EQ(Corvane::httpDebugData(keyOf(shown)), platform::AnyValue(text));
}

TEST(BodyCacheTest, knowsNothingOfOtherKeys) { EXPECT_FALSE(Corvane::httpDebugData("no such key")); }

}  // namespace
}  // namespace corvane
