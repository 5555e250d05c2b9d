#include <gtest/gtest.h>

#include <stdexcept>

#include "Corvane/Corvane.hpp"

namespace corvane {
namespace {

struct Get : DataGetRequestable<Get> {
  URL baseURL = "https://example.com";
  std::string path;
  HTTPQueryItems queryItems;
  HTTPHeaders sharedHeaders() const { return {}; }
};

std::string sentURL(const Get& request) { return request.createURL().absoluteString(); }

struct Broken : DataGetRequestable<Broken> {
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPHeaders headers() const { throw std::runtime_error("no headers"); }
  double timeoutInterval() const { throw std::runtime_error("no time-out"); }
};

TEST(URLCompositionTest, asksForNothingElseWhereThereIsNoURL) { EXPECT_THROW(Broken().urlRequest(), HTTPRequestError); }

TEST(URLCompositionTest, keepsAPlusInTheQueryUnlessItEncodesStrictly) {
  const HTTPQueryItems items{{"phone", "+44 20"}};

  EXPECT_EQ(sentURL({.queryItems = items}), "https://example.com/?phone=+44%2020");
  EXPECT_EQ(sentURL({.queryItems = items.strictlyEncoded()}), "https://example.com/?phone=%2B44%2020");
  EXPECT_EQ(DataGetRequest("https://example.com", {.queryItems = items.strictlyEncoded()}).createURL(),
            URL("https://example.com?phone=%2B44%2020"));
}

TEST(URLCompositionTest, putsExactlyOneSlashBetweenBaseAndPath) {
  EXPECT_EQ(sentURL({.path = "x"}), "https://example.com/x");
  EXPECT_EQ(sentURL({.path = "/x"}), "https://example.com/x");
  EXPECT_EQ(sentURL({.path = ""}), "https://example.com/");
}

TEST(URLCompositionTest, appendsToThePathOfTheBase) {
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/v1/", .path = "items"}), "https://example.com/v1/items");
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/v1", .path = "items"}), "https://example.com/v1/items");
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/a/b", .path = "/c"}), "https://example.com/a/b/c");
}

TEST(URLCompositionTest, leavesATrailingSlashForAnEmptyPath) {
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/api"}), "https://example.com/api/");
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/api/"}), "https://example.com/api/");
}

TEST(URLCompositionTest, keepsSlashesInsideThePathAsTheyAre) {
  EXPECT_EQ(sentURL({.path = "a//b/"}), "https://example.com/a//b/");
}

TEST(URLCompositionTest, percentEncodesWhatAPathMayNotHold) {
  EXPECT_EQ(sentURL({.path = "/Ada Lovelace/50%/é?"}), "https://example.com/Ada%20Lovelace/50%25/%C3%A9%3F");
}

TEST(URLCompositionTest, keepsTheQueryOfTheBaseWithoutItemsOfItsOwn) {
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/?a=1", .path = "x"}), "https://example.com/x?a=1");
}

TEST(URLCompositionTest, replacesTheQueryOfTheBaseByItsItems) {
  EXPECT_EQ(sentURL({.baseURL = "https://example.com/?a=1", .path = "x", .queryItems = {{"b", 2}}}),
            "https://example.com/x?b=2");
}

TEST(URLCompositionTest, keepsTheOrderOfTheItems) {
  EXPECT_EQ(sentURL({.queryItems = {{"b", 2}, {"a", 1}}}), "https://example.com/?b=2&a=1");
}

TEST(URLCompositionTest, rendersItemsOfEveryPrintableKind) {
  EXPECT_EQ(sentURL({.queryItems = {{"text", "x y&z"}, {"whole", 3}, {"part", 0.5}, {"yes", true}}}),
            "https://example.com/?text=x%20y%26z&whole=3&part=0.5&yes=true");
}

TEST(URLCompositionTest, resolvesARelativeBaseFirst) {
  const Get request{.baseURL = URL("v2", "https://example.com/api/"), .path = "items"};

  EXPECT_EQ(sentURL(request), "https://example.com/api/v2/items");
}

TEST(URLCompositionTest, refusesTheBareSlashAsMalformed) {
  const Get request{.baseURL = "/"};

  EXPECT_EQ(request.url(), URL("/"));
  try {
    request.createURL();
    FAIL() << "no error";
  } catch (const HTTPRequestError& error) {
    EXPECT_EQ(error.message(), "Malformed URL: /");
  }
}

TEST(URLCompositionTest, fallsBackToTheBareSlashWhenThePartsMakeNoURL) {
  const Get request{.baseURL = "/", .path = "//x"};

  EXPECT_EQ(request.url(), URL("/"));
  EXPECT_THROW(request.createURL(), HTTPRequestError);
}

TEST(URLCompositionTest, foldsItemsIntoTheURLStringOfMessages) {
  EXPECT_EQ((Get{.baseURL = "https://b", .path = "/p", .queryItems = {{"a", 1}, {"b", 2}}}.urlString()),
            "https://b/p,a=1b=2");
  EXPECT_EQ((Get{.baseURL = "https://b", .queryItems = {{"a", 1}, {"b", 2}, {"c", 3}}}.urlString()),
            "https://b,,a=1b=2c=3");
  EXPECT_EQ((Get{.baseURL = "https://b", .path = "p", .queryItems = {{"a", 1}}}.urlString()), "https://bpa=1");
  EXPECT_EQ((Get{.baseURL = "https://b"}.urlString()), "https://b");
}

struct Fixed : DataGetRequestable<Fixed> {
  URL url = "https://example.com/fixed?x=1";
  HTTPQueryItems queryItems{{"ignored", 1}};
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(URLCompositionTest, sendsExactlyTheURLThatATypeSupplies) {
  EXPECT_EQ(Fixed().createURL(), URL("https://example.com/fixed?x=1"));
  EXPECT_EQ(Fixed().urlRequest().url, URL("https://example.com/fixed?x=1"));
}

TEST(URLCompositionTest, refusesTheBareSlashThatATypeSupplies) {
  EXPECT_THROW((Fixed{.url = "/"}.createURL()), HTTPRequestError);
}

struct EveryForm : DataGetRequestable<EveryForm> {
  static constexpr const char* baseURL = "https://example.com/api";
  std::string login = "ada";
  std::string path() const { return "users/" + login; }
  static HTTPQueryItems queryItems() { return {{"full", true}}; }
  HTTPHeaders sharedHeaders{{"X-App", "1"}};
  std::chrono::milliseconds timeoutInterval{1500};
};

TEST(URLCompositionTest, readsStoredComputedAndStaticRequirements) {
  const auto request = EveryForm{.login = "eve"}.urlRequest();

  EXPECT_EQ(request.url, URL("https://example.com/api/users/eve?full=true"));
  EXPECT_EQ(request.allHTTPHeaderFields.value("X-App"), "1");
  EXPECT_EQ(request.timeoutInterval, 1.5);
}

}  // namespace
}  // namespace corvane
