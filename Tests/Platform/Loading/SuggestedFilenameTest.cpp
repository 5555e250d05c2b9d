#include "Platform/Loading/Internal/SuggestedFilename.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "Platform/Foundation/UTF8.hpp"

namespace platform::detail {
namespace {

std::string nameFor(std::string_view disposition, const char* url = "http://example.com/fallback.bin",
                    std::optional<std::string> type = std::nullopt) {
  return suggestedFilename(disposition, URL(url), type);
}

TEST(SuggestedFilenameTest, readsPlainNames) {
  EXPECT_EQ(nameFor("attachment; filename=report.pdf"), "report.pdf");
  EXPECT_EQ(nameFor("attachment; filename=\"my report.pdf\""), "my report.pdf");
  EXPECT_EQ(nameFor("ATTACHMENT;FILENAME=\"a\\\"b.txt\""), "a_b.txt");
  EXPECT_EQ(nameFor("inline; x=y; filename = two words.txt ; z=1"), "two words.txt");
  EXPECT_EQ(nameFor("attachment; filename=\"a;b.txt\""), "a;b.txt");
  EXPECT_EQ(nameFor("filename=bare.txt"), "bare.txt");
  EXPECT_EQ(nameFor("attachment; filename=\"first.txt\"; filename=\"second.txt\""), "first.txt");
}

TEST(SuggestedFilenameTest, prefersTheExtendedName) {
  EXPECT_EQ(nameFor("attachment; filename=\"EURO rates\"; filename*=utf-8''%e2%82%ac%20rates"), "€ rates");
  EXPECT_EQ(nameFor("attachment; filename*=UTF-8'en'na%C3%AFve.txt; filename=naive.txt"), "naïve.txt");
  EXPECT_EQ(nameFor("attachment; filename*=iso-8859-1''%A3.txt"), "£.txt");
}

TEST(SuggestedFilenameTest, passesOverAnExtendedNameThatCannotBeRead) {
  for (const char* extended :
       {"utf-8''%FF.txt", "utf-8''%E2%82", "utf-8''100%", "utf-8''%zz", "utf-16''%00a", "no-quotes", "utf-8'x"}) {
    EXPECT_EQ(nameFor(std::string("attachment; filename*=") + extended + "; filename=plain.txt"), "plain.txt")
        << extended;
    EXPECT_EQ(nameFor(std::string("attachment; filename*=") + extended), "fallback.bin") << extended;
  }
}

TEST(SuggestedFilenameTest, takesOtherBytesForLatin1) {
  EXPECT_EQ(nameFor("attachment; filename=\"na\xEFve.txt\""), "naïve.txt");
  EXPECT_EQ(nameFor("attachment; filename=\"naïve.txt\""), "naïve.txt");
}

TEST(SuggestedFilenameTest, fallsBackToTheURLThenItsHost) {
  EXPECT_EQ(nameFor("attachment", "http://example.com/a/b%20c.txt?q#f"), "b c.txt");
  EXPECT_EQ(nameFor("", "http://example.com/a/b/"), "b");
  EXPECT_EQ(nameFor("", "http://example.com/"), "example.com");
  EXPECT_EQ(nameFor("", "http://example.com"), "example.com");
  EXPECT_EQ(nameFor("", "http://example.com", "text/html"), "example.com.html");
  EXPECT_EQ(nameFor("", "http://[2001:db8::1]/"), "2001_db8__1");
  EXPECT_EQ(nameFor("", "file:///"), "Unknown");
  EXPECT_EQ(nameFor("attachment; filename=\"...\"", "http://example.com/x"), "x");
}

TEST(SuggestedFilenameTest, addsAnExtensionForAKnownTypeOnly) {
  EXPECT_EQ(nameFor("", "http://h/users", "application/json"), "users.json");
  EXPECT_EQ(nameFor("", "http://h/users.txt", "application/json"), "users.txt");
  EXPECT_EQ(nameFor("", "http://h/users", "application/octet-stream"), "users");
  EXPECT_EQ(nameFor("", "http://h/users", "application/x-unheard-of"), "users");
  EXPECT_EQ(nameFor("", "http://h/users"), "users");
  EXPECT_EQ(nameFor("attachment; filename=photo", "http://h/x", "image/png"), "photo.png");
}

TEST(SuggestedFilenameTest, leavesNoWayOutOfTheFolder) {
  EXPECT_EQ(nameFor("attachment; filename=\"../../etc/passwd\""), "passwd");
  EXPECT_EQ(nameFor("attachment; filename=\"..\\\\..\\\\boot.ini\""), "boot.ini");
  EXPECT_EQ(nameFor("attachment; filename=\"/etc/\""), "etc");
  EXPECT_EQ(nameFor("attachment; filename*=utf-8''..%2F..%2Fx.txt"), "x.txt");
  EXPECT_EQ(nameFor("attachment; filename*=utf-8''a%00%2F..%2Fb"), "b");
  EXPECT_EQ(nameFor("", "http://h/a/..%2F..%2Fetc%2Fpasswd"), "passwd");
  EXPECT_EQ(nameFor("", "http://h/%2e%2e%2f"), "h");
  EXPECT_EQ(nameFor("attachment; filename=\"..\""), "fallback.bin");
}

TEST(SuggestedFilenameTest, makesComponentsSafe) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"plain.txt", "plain.txt"},
      {".bashrc", "bashrc"},
      {"...a", "a"},
      {" a ", "a"},
      {"a. .", "a"},
      {"..", ""},
      {"", ""},
      {"/", ""},
      {"///\\", ""},
      {"C:\\a\\b.txt", "b.txt"},
      {"a:b", "a_b"},
      {"<>:\"|?*", "_______"},
      {std::string_view("a\0b", 3), "ab"},
      {"a\r\nb\x7F", "ab"},
      {"\xC2\x85"
       "a",
       "a"},
      {"photo\xE2\x80\xAEgpj.exe", "photogpj.exe"},
      {"a\xE2\x81\xA6"
       "b\xEF\xBB\xBF",
       "ab"},
      {"con", "_con"},
      {"NUL.txt", "_NUL.txt"},
      {"Com1 .log", "_Com1 .log"},
      {"lpt\xC2\xB2", "_lpt\xC2\xB2"},
      {"com10", "com10"},
      {"console", "console"},
      {"a\xFF", "a\xC3\xBF"},
      {"-rf", "-rf"},
      {"~", "~"},
  };
  for (const auto& [given, safe] : rows) EXPECT_EQ(safeComponent(given), safe) << given;
}

TEST(SuggestedFilenameTest, cutsLongNamesBetweenCharactersAndKeepsTheExtension) {
  EXPECT_EQ(safeComponent(std::string(300, 'a') + ".tar"), std::string(251, 'a') + ".tar");
  EXPECT_EQ(safeComponent(std::string(300, 'a')), std::string(255, 'a'));
  EXPECT_EQ(safeComponent(std::string(10, 'a') + "." + std::string(300, 'b')),
            std::string(10, 'a') + "." + std::string(244, 'b'));

  std::string umlauts;
  for (int i = 0; i < 200; ++i) umlauts += "ä";
  const std::string cut = safeComponent(umlauts + ".x");
  EXPECT_EQ(cut.size(), 254U);
  EXPECT_TRUE(isValidUTF8(cut));
  EXPECT_TRUE(cut.ends_with("ä.x"));

  const std::string withExtension =
      nameFor("attachment; filename=" + std::string(300, 'a'), "http://h/x", "application/json");
  EXPECT_EQ(withExtension, std::string(250, 'a') + ".json");
}

TEST(SuggestedFilenameTest, makesNoDeviceNameByShortening) {
  const std::string spaces(300, ' ');

  const std::string bare = safeComponent("con" + spaces + "x");
  const std::string withExtension = safeComponent("nul" + spaces + "x.txt");
  const std::string withAddedExtension =
      nameFor("attachment; filename=\"aux" + spaces + "x\"", "http://h/", "text/html");

  EXPECT_EQ(bare, "_con");
  EXPECT_EQ(withExtension, "_nul" + std::string(247, ' ') + ".txt");
  EXPECT_TRUE(withAddedExtension.starts_with("_aux")) << withAddedExtension;
  for (const std::string& name : {bare, withExtension, withAddedExtension}) EXPECT_EQ(safeComponent(name), name);
}

TEST(SuggestedFilenameTest, isAlwaysOneSafeComponent) {
  std::mt19937 random(3);
  const std::string pieces[] = {
      "/",       "\\",   "..",           ".", "%2F", "%00", "\"", ";",   "filename=",  "filename*=",
      "utf-8''", "\xFF", "\xE2\x80\xAE", "a", " ",   "con", ":",  "%E2", "attachment", std::string(90, 'x'),
      "ä",       "\t"};
  for (int round = 0; round < 20000; ++round) {
    std::string disposition = random() % 2 == 0 ? "attachment; filename=\"" : "";
    for (auto count = random() % 10; count > 0; --count) disposition += pieces[random() % std::size(pieces)];

    const std::string name =
        nameFor(disposition, "http://h/", random() % 2 == 0 ? std::optional<std::string>("text/html") : std::nullopt);

    ASSERT_FALSE(name.empty());
    ASSERT_LE(name.size(), 255U);
    ASSERT_TRUE(isValidUTF8(name));
    ASSERT_EQ(name.find_first_of(std::string_view("/\\:\0\r\n\t", 7)), std::string::npos) << disposition;
    ASSERT_NE(name.front(), '.') << disposition;
    ASSERT_NE(name.back(), '.') << disposition;
    ASSERT_NE(name, "con");
  }
}

}  // namespace
}  // namespace platform::detail
