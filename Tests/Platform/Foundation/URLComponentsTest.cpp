#include "Platform/Foundation/URLComponents.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using platform::URL;
using platform::URLComponents;
using platform::URLQueryEncoding;
using platform::URLQueryItem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

const std::string unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

std::string escape(char character) {
  char buffer[4];
  std::snprintf(buffer, sizeof buffer, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(character)));
  return buffer;
}

/// What a component that keeps `kept` makes of each byte between two letters.
template <class Encode>
void expectEncoding(const std::string& kept, Encode encode) {
  for (int byte = 0; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    const bool isKept = kept.find(character) != std::string::npos;
    const std::string expected = "a" + (isKept ? std::string(1, character) : escape(character)) + "b";

    EXPECT_EQ(encode(std::string("a") + character + "b"), expected) << "byte " << byte;
  }
}

std::string queryOf(const std::vector<URLQueryItem>& items) {
  URLComponents components;
  components.setQueryItems(items);
  return components.percentEncodedQuery.value_or("absent");
}

TEST(URLComponentsTest, keepsInAPathWhatAPathMayHold) {
  expectEncoding(unreserved + "!$&'()*+,;=:@/", [](const std::string& text) {
    URLComponents components;
    components.setPath(text);
    EXPECT_EQ(components.path(), text);
    return components.percentEncodedPath;
  });
}

TEST(URLComponentsTest, keepsInAQueryWhatAQueryMayHold) {
  expectEncoding(unreserved + "!$&'()*+,;=:@/?", [](const std::string& text) {
    URLComponents components;
    components.setQuery(text);
    EXPECT_THAT(components.query(), Optional(text));
    return *components.percentEncodedQuery;
  });
}

TEST(URLComponentsTest, keepsInNamesAndValuesAllOfAQueryButWhatSetsItemsApart) {
  const std::string kept = unreserved + "!$'()*+,:@/?";

  expectEncoding(kept, [](const std::string& text) { return queryOf({{text, std::nullopt}}); });
  expectEncoding(kept, [](const std::string& text) { return queryOf({{"", text}}).substr(1); });
}

TEST(URLComponentsTest, readsBackTheItemsThatWereSet) {
  std::string everything;
  for (int byte = 0; byte < 256; ++byte) everything += static_cast<char>(byte);
  const std::vector<URLQueryItem> items = {
      {everything, everything}, {"empty", ""}, {"absent", std::nullopt}, {"", "nameless"}, {"", std::nullopt}};
  auto components = URLComponents::make("http://h/p").value();

  components.setQueryItems(items);

  EXPECT_EQ(components.queryItems(), items);
  EXPECT_EQ(URLComponents::make(components.url().value(), true)->queryItems(), items);
}

TEST(URLComponentsTest, writesItemsInTheirOrder) {
  EXPECT_EQ(queryOf({{"b", "2"}, {"a", "1"}, {"b", "3"}}), "b=2&a=1&b=3");
  EXPECT_EQ(queryOf({{"flag", std::nullopt}, {"empty", ""}}), "flag&empty=");
  EXPECT_EQ(queryOf({{"gr\xC3\xBC\xC3\x9F", "100%"}}), "gr%C3%BC%C3%9F=100%25");
  EXPECT_EQ(queryOf({}), "");
}

TEST(URLComponentsTest, encodesItemsStrictlyOnDemand) {
  URLComponents components;
  components.setQueryItems({{"a+b", "1+1=2 !$'()*,:@/?;&"}, {"plain", "aZ09-._~"}}, URLQueryEncoding::strict);

  EXPECT_EQ(components.percentEncodedQuery, "a%2Bb=1%2B1%3D2%20%21%24%27%28%29%2A%2C%3A%40%2F%3F%3B%26&plain=aZ09-._~");
}

TEST(URLComponentsTest, readsTheItemsOfAnyQuery) {
  const auto items = URLComponents::make("?a=1&b&c=&=d&&e=f=g&h=%26+i")->queryItems();

  EXPECT_THAT(items, ElementsAre(URLQueryItem{"a", "1"}, URLQueryItem{"b", std::nullopt}, URLQueryItem{"c", ""},
                                 URLQueryItem{"", "d"}, URLQueryItem{"", std::nullopt}, URLQueryItem{"e", "f=g"},
                                 URLQueryItem{"h", "&+i"}));
}

TEST(URLComponentsTest, hasNoItemsWithoutAQueryOrWithAnEmptyOne) {
  EXPECT_THAT(URLComponents::make("http://h/")->queryItems(), IsEmpty());
  EXPECT_THAT(URLComponents::make("http://h/?")->queryItems(), IsEmpty());
}

TEST(URLComponentsTest, keepsAnUntouchedQueryAsItWasWritten) {
  auto components = URLComponents::make("http://h/p?a=%41;b&c=%2f#f").value();

  components.setPath("/q");

  EXPECT_EQ(components.string(), "http://h/q?a=%41;b&c=%2f#f");
}

TEST(URLComponentsTest, putsEveryURLTogetherAsItWas) {
  for (const char* text : {"/",
                           "//h",
                           "//h/p",
                           "a",
                           "./a:b",
                           "?q",
                           "#f",
                           "?",
                           "mailto:a@b",
                           "urn:a:b",
                           "x:",
                           "http://h?q",
                           "http://h#f",
                           "http://h/?#",
                           "file:///a/b",
                           "http://u:p@h:8080/a%20b?c=d#e",
                           "http://u@h",
                           "http://:p@h",
                           "http://@h/",
                           "http://u:@h/",
                           "http://[::1]:80/%41",
                           "HTTP://EXAMPLE/",
                           "http://h//a/../b"}) {
    const auto components = URLComponents::make(text);

    ASSERT_TRUE(components) << text;
    EXPECT_EQ(components->string(), text);
    ASSERT_TRUE(components->url()) << text;
    EXPECT_EQ(components->url()->absoluteString(), text);
  }
}

TEST(URLComponentsTest, dropsTheColonOfAnEmptyPort) {
  EXPECT_EQ(URLComponents::make("http://h:/p")->string(), "http://h/p");
}

TEST(URLComponentsTest, takesApartTheResolvedURLOrItsOwnText) {
  const URL url("b?q", URL("http://h/a/"));

  EXPECT_EQ(URLComponents::make(url, true)->string(), "http://h/a/b?q");
  EXPECT_EQ(URLComponents::make(url, false)->string(), "b?q");
  EXPECT_EQ(URLComponents::make(url, false)->percentEncodedHost, std::nullopt);
}

TEST(URLComponentsTest, isAbsentForTextThatIsNoURL) {
  EXPECT_EQ(URLComponents::make("http://h/a b"), std::nullopt);
  EXPECT_EQ(URLComponents::make(""), std::nullopt);
}

TEST(URLComponentsTest, composesThePathThatTheRootReferenceIs) {
  URLComponents components = URLComponents::make(URL("/"), true).value();

  components.setPath("/");

  EXPECT_EQ(components.url(), URL("/"));
}

TEST(URLComponentsTest, escapesAColonThatWouldEndAScheme) {
  URLComponents components;
  components.setPath("a:b/c:d");

  EXPECT_EQ(components.percentEncodedPath, "a:b/c:d");
  ASSERT_TRUE(components.url());
  EXPECT_EQ(components.url()->absoluteString(), "a%3Ab/c:d");
  EXPECT_EQ(components.url()->path(), "a:b/c:d");
}

TEST(URLComponentsTest, makesNoURLOfAnAuthorityAndARelativePath) {
  auto components = URLComponents::make("http://h/").value();

  components.setPath("a");

  EXPECT_EQ(components.url(), std::nullopt);
}

TEST(URLComponentsTest, makesNoURLOfADoubledSlashWithoutAuthority) {
  URLComponents components;
  components.setPath("//a");

  EXPECT_EQ(components.url(), std::nullopt);
  components.scheme = "s";
  EXPECT_EQ(components.url(), std::nullopt);
  components.percentEncodedHost = "h";
  EXPECT_THAT(components.url(), Optional(URL("s://h//a")));
}

TEST(URLComponentsTest, makesNoURLOfAComponentWithCharactersItMayNotHold) {
  const auto valid = URLComponents::make("http://u:p@h/p?q#f").value();
  const auto isRefused = [&valid](auto change) {
    URLComponents components = valid;
    change(components);
    return !components.url().has_value();
  };

  EXPECT_TRUE(isRefused([](auto& c) { c.scheme = "ht/tp"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.scheme = ""; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedUser = "a@b"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedUser = "a:b"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedPassword = "a/b"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedHost = "h/p"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedHost = "h:80"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedHost = std::nullopt; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedPath = "/a?b"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedPath = "/a b"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedQuery = "a#b"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedQuery = "%4"; }));
  EXPECT_TRUE(isRefused([](auto& c) { c.percentEncodedFragment = "a#b"; }));
  EXPECT_FALSE(isRefused([](auto&) {}));
}

TEST(URLComponentsTest, removesTheQueryWhenItIsSetToNothing) {
  auto components = URLComponents::make("http://h/p?q").value();

  components.setQuery(std::nullopt);

  EXPECT_EQ(components.string(), "http://h/p");
}

}  // namespace
