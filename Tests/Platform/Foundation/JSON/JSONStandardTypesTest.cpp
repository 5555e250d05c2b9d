#include <gtest/gtest.h>

#include <array>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

TEST(JSONDataTest, isBase64) {
  const std::pair<const char*, const char*> samples[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"},
                                                         {"\xFB\xFF\xBF", "+/+/"}};
  for (const auto& [bytes, text] : samples) {
    EXPECT_EQ(encoded(Data(bytes)), "\"" + std::string(text) + "\"");
    EXPECT_EQ(decoded<Data>("\"" + std::string(text) + "\""), Data(bytes));
  }
}

TEST(JSONDataTest, isReadBackWhateverItsBytes) {
  std::mt19937 random(4648);
  for (std::size_t size = 0; size < 300; ++size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());

    EXPECT_EQ(decoded<Data>(encoded(Data(bytes))), Data(bytes));
  }
}

TEST(JSONDataTest, refusesTextThatIsNotBase64) {
  for (const char* text :
       {"Z",        "Zg",   "Zg=",  "Zg===",   "=",       "==",   "====", "Z===",      "Zm9vZ",      "Zm9v====",
        "Zg==Zg==", "Z=g=", "=Zg=", "Zm8=\\n", "Zm9v\\n", "Zm 9", "Zm-_", "Zm9\u00e9", "Zm8\\u0000", "Zm9v "}) {
    EXPECT_EQ(refusalMessage<Data>("\"" + std::string(text) + "\""), "the text is not base64") << text;
  }
}

TEST(JSONDataTest, refusesBitsThatBelongToNoByte) {
  for (const char* text : {"Zh==", "Zm9=", "Zm8/Zm9=", "//==", "///="}) {
    EXPECT_EQ(refusal<Data>("\"" + std::string(text) + "\"").which(), DecodingError::Case::dataCorrupted) << text;
  }
}

struct Link {
  URL url;
  std::optional<URL> icon;
  std::vector<URL> others;
};

TEST(JSONURLTest, standsInModelsAlthoughThereIsNoDefaultOne) {
  const auto link =
      decoded<Link>(R"({"others":["b?x=\u0031","//c"],"url":"https:\/\/example.com\/a%20b","icon":"favicon.ico"})");

  EXPECT_EQ(link.url.absoluteString(), "https://example.com/a%20b");
  ASSERT_TRUE(link.icon);
  EXPECT_EQ(link.icon->relativeString(), "favicon.ico");
  ASSERT_EQ(link.others.size(), 2U);
  EXPECT_EQ(link.others[0].relativeString(), "b?x=1");
  EXPECT_EQ(encoded(link), R"({"url":"https://example.com/a%20b","icon":"favicon.ico","others":["b?x=1","//c"]})");
}

TEST(JSONURLTest, isReadAsTheWholeDocumentToo) {
  EXPECT_EQ(decoded<URL>(R"("https://example.com/")"), URL("https://example.com/"));
}

TEST(JSONURLTest, standsInArraysMapsAndVariants) {
  using Either = std::variant<URL, int>;
  struct Links {
    std::array<URL, 2> pair;
    std::map<std::string, Link> named;
    Either either;
    std::vector<Either> list;
    std::vector<Link> links;
  };

  const auto links = decoded<Links>(R"({"pair":["a","b"],"named":{"n":{"url":"c","others":[]}},"either":"d",
                                       "list":[1,"e"],"links":[{"url":"f","others":["g"]}]})");

  EXPECT_EQ(encoded(links), R"({"pair":["a","b"],"named":{"n":{"url":"c","others":[]}},"either":"d","list":[1,"e"],)"
                            R"("links":[{"url":"f","others":["g"]}]})");
}

TEST(JSONURLTest, tellsWhatIsWrongWithTheText) {
  const DecodingError error = refusal<Link>(R"({"url": "https://example.com/a b","others":[]})");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message(),
            "url: \"https://example.com/a b\" is not a URL: character ' ' at position 21 must be percent-encoded");
  EXPECT_EQ(error.byteOffset(), 8U);
  EXPECT_EQ(refusalMessage<URL>("\"\""), "\"\" is not a URL: it is empty");
  EXPECT_EQ(refusalMessage<Link>(R"({"url":"/","others":["/",null]})"), "others[1]: expected a string, found null");
}

TEST(JSONUUIDTest, isItsCanonicalForm) {
  const char* const text = "\"6D0C4B2E-8F11-4C57-9A51-0A4E4D2F1C3B\"";

  EXPECT_EQ(encoded(decoded<UUID>(text)), text);
  EXPECT_EQ(encoded(decoded<UUID>("\"6d0c4b2e-8f11-4c57-9a51-0a4e4d2f1c3b\"")), text);
  EXPECT_EQ(refusalMessage<UUID>("\"6D0C4B2E\""), "the text is no UUID");
  EXPECT_EQ(refusalMessage<UUID>("7"), "expected a string, found a number");
}

}  // namespace
}  // namespace platform
