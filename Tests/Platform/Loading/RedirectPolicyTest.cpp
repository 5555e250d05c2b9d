#include "Platform/Loading/Internal/RedirectPolicy.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "Platform/Loading/Internal/RedirectLocation.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

URLRequest requestTo(const char* url, const char* method = "GET") {
  URLRequest request{URL(url)};
  request.httpMethod = method;
  return request;
}

URLRequest postTo(const char* url, const char* method = "POST") {
  URLRequest request = requestTo(url, method);
  request.httpBody = Data("body");
  request.allHTTPHeaderFields = {{"Content-Type", "text/plain"},
                                 {"Accept", "*/*"},
                                 {"content-encoding", "gzip"},
                                 {"Content-Length", "4"},
                                 {"Expect", "100-continue"}};
  return request;
}

/// The next request; fails the test when there is none.
URLRequest follow(const URLRequest& sent, int status, std::string_view location, int hops = 0) {
  const auto decision = decideRedirect(sent, status, location, hops);
  if (const auto* next = std::get_if<URLRequest>(&decision)) return *next;
  const auto* failure = std::get_if<LoadFailure>(&decision);
  ADD_FAILURE() << "not followed: " << location << ": " << (failure ? failure->message : "taken for the response");
  return sent;
}

std::string urlAfter(const char* from, std::string_view location) {
  return follow(requestTo(from), 302, location).url.absoluteString();
}

LoadFailure failureFor(const char* from, std::string_view location, int hops = 0) {
  const auto decision = decideRedirect(requestTo(from), 302, location, hops);
  const auto* failure = std::get_if<LoadFailure>(&decision);
  return failure ? *failure : LoadFailure{0, "no failure"};
}

bool isResponse(int status, std::optional<std::string_view> location) {
  return std::holds_alternative<NoRedirect>(decideRedirect(requestTo("http://a/"), status, location, 0));
}

TEST(RedirectPolicyTest, takesADigestNowhere) {
  URLRequest sent = requestTo("http://a/b");
  sent.allHTTPHeaderFields = {{"Authorization", "digest username=\"u\", uri=\"/b\""}, {"Cookie", "a=1"}};

  const auto next = follow(sent, 302, "/c");

  EXPECT_FALSE(next.allHTTPHeaderFields.contains("Authorization"));
  EXPECT_TRUE(next.allHTTPHeaderFields.contains("Cookie"));
}

TEST(RedirectPolicyTest, takesEveryOtherStatusForTheResponse) {
  for (int status = 200; status < 600; ++status) {
    const bool isFollowed = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
    EXPECT_EQ(isResponse(status, "/next"), !isFollowed) << status;
  }
}

TEST(RedirectPolicyTest, takesARedirectWithoutLocationForTheResponse) {
  EXPECT_TRUE(isResponse(302, std::nullopt));
  EXPECT_TRUE(isResponse(302, ""));
  EXPECT_TRUE(isResponse(302, " \t"));
}

TEST(RedirectPolicyTest, rewritesTheMethodAsTheStatusSays) {
  struct Row {
    int status;
    const char* method;
    const char* next;
  };
  const Row rows[] = {{301, "GET", "GET"},       {301, "HEAD", "HEAD"},  {301, "POST", "GET"},  {301, "PUT", "PUT"},
                      {301, "DELETE", "DELETE"}, {302, "GET", "GET"},    {302, "HEAD", "HEAD"}, {302, "POST", "GET"},
                      {302, "PATCH", "PATCH"},   {303, "GET", "GET"},    {303, "HEAD", "HEAD"}, {303, "POST", "GET"},
                      {303, "PUT", "GET"},       {303, "DELETE", "GET"}, {307, "POST", "POST"}, {307, "HEAD", "HEAD"},
                      {308, "POST", "POST"},     {308, "PUT", "PUT"},    {308, "GET", "GET"}};
  for (const Row& row : rows) {
    EXPECT_EQ(follow(requestTo("http://a/", row.method), row.status, "/b").httpMethod, row.next)
        << row.status << row.method;
  }
}

TEST(RedirectPolicyTest, dropsTheBodyWithTheFieldsThatDescribeIt) {
  const URLRequest next = follow(postTo("http://a/"), 303, "/b");

  EXPECT_FALSE(next.httpBody.has_value());
  EXPECT_THAT(next.allHTTPHeaderFields, ElementsAre(Pair("Accept", "*/*")));
}

TEST(RedirectPolicyTest, keepsTheBodyWithTheFieldsThatDescribeIt) {
  for (const auto& [status, method] : {std::pair{307, "POST"}, {308, "POST"}, {301, "PUT"}, {302, "PUT"}}) {
    const URLRequest sent = postTo("http://a/", method);

    const URLRequest next = follow(sent, status, "/b");

    EXPECT_EQ(next.httpBody, sent.httpBody);
    EXPECT_EQ(next.allHTTPHeaderFields, sent.allHTTPHeaderFields);
  }
}

TEST(RedirectPolicyTest, keepsEverythingElseOfTheRequest) {
  URLRequest sent = requestTo("http://a/");
  sent.timeoutInterval = 7;
  sent.cachePolicy = URLRequestCachePolicy::reloadIgnoringLocalCacheData;

  const URLRequest next = follow(sent, 301, "http://b/");

  EXPECT_EQ(next.timeoutInterval, 7);
  EXPECT_EQ(next.cachePolicy, URLRequestCachePolicy::reloadIgnoringLocalCacheData);
}

TEST(RedirectPolicyTest, resolvesRelativeLocations) {
  EXPECT_EQ(urlAfter("http://a/b/c?x", "d"), "http://a/b/d");
  EXPECT_EQ(urlAfter("http://a/b/c?x", "/d?y"), "http://a/d?y");
  EXPECT_EQ(urlAfter("http://a/b/c", "../../../d"), "http://a/d");
  EXPECT_EQ(urlAfter("http://a/b/c", "?y"), "http://a/b/c?y");
  EXPECT_EQ(urlAfter("http://a/b", "//c/d"), "http://c/d");
  EXPECT_EQ(urlAfter("http://a/b", "  http://c/d\t"), "http://c/d");
  EXPECT_EQ(urlAfter("http://a", "b"), "http://a/b");
  EXPECT_EQ(urlAfter("http://a/", "https://[2001:db8::1]:8443/"), "https://[2001:db8::1]:8443/");
}

TEST(RedirectPolicyTest, handsTheFragmentOn) {
  EXPECT_EQ(urlAfter("http://a/b#part", "/c"), "http://a/c#part");
  EXPECT_EQ(urlAfter("http://a/b#part", "/c#other"), "http://a/c#other");
  EXPECT_EQ(urlAfter("http://a/b#p%20t", "http://c/"), "http://c/#p%20t");
}

TEST(RedirectPolicyTest, encodesWhatAReferenceMayNotHold) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"/a b", "/a%20b"},
      {"/\xC3\xA4?\xC3\xB6#\xC3\xBC", "/%C3%A4?%C3%B6#%C3%BC"},
      {"/100%", "/100%25"},
      {"/%zz%4", "/%25zz%254"},
      {"/%41%2f", "/%41%2f"},
      {"/<\"{|}^`>", "/%3C%22%7B%7C%7D%5E%60%3E"},
      {"/a[1]?b[2]#c[3]", "/a%5B1%5D?b%5B2%5D#c%5B3%5D"},
      {"http://[::1]/[", "http://[::1]/%5B"},
      {"//[::1]:80", "//[::1]:80"},
      {"\\a\\b?c\\d", "/a/b?c%5Cd"},
      {"http:\\\\host\\x", "http://host/x"},
      {"#a#b?c", "#a%23b?c"},
      {"?a?b", "?a?b"},
      {"a/b//[c]", "a/b//%5Bc%5D"},
      {"http://\xC3\xA4@b\xC3\xBC.example/\xC3\xA4", "http://%C3%A4@b\xC3\xBC.example/%C3%A4"},
  };
  for (const auto& [location, reference] : rows) EXPECT_EQ(locationAsReference(location), reference);
}

TEST(RedirectPolicyTest, mapsHostsInTheCharactersOfAnyLanguage) {
  EXPECT_EQ(urlAfter("http://a/",
                     "http://b\xC3\xBC"
                     "cher.example/stra\xC3\x9F"
                     "e?\xC3\xBC"),
            "http://xn--bcher-kva.example/stra%C3%9Fe?%C3%BC");
  EXPECT_EQ(urlAfter("https://a/x",
                     "//B\xC3\x9C"
                     "CHER.example:8443/"),
            "https://xn--bcher-kva.example:8443/");
  EXPECT_EQ(urlAfter("http://a/",
                     "http:\\\\me:\xC3\xA4@b\xC3\xBC"
                     "cher.example\\x"),
            "http://xn--bcher-kva.example/x");
  EXPECT_FALSE(
      leavesOrigin("http://b\xC3\xBC"
                   "cher.example/y",
                   URL("http://xn--bcher-kva.example/")));
}

TEST(RedirectPolicyTest, refusesHostsThatAreNoNames) {
  // A slash and an address once mapped, an invisible character, half an escape, bytes that are not UTF-8.
  for (const char* location : {"http://a\xEF\xBC\x8F"
                               "b/",
                               "http://\xEF\xBC\x91"
                               "27.0.0.1/",
                               "http://a\xE2\x80\x8B"
                               "b/",
                               "http://%C3%BC\xC3\xBC/",
                               "http://b\xFC"
                               "cher.example/"}) {
    EXPECT_EQ(failureFor("http://a/", location).code, URLErrorCode::redirectToNonExistentLocation) << location;
  }
}

TEST(RedirectPolicyTest, refusesWhatIsNoURL) {
  for (const char* location :
       {"http://", "http:///x", "https:", "http:x", "http://host:99999/", "http://[::1/", "//"}) {
    EXPECT_EQ(failureFor("http://a/", location).code, URLErrorCode::redirectToNonExistentLocation) << location;
  }
  EXPECT_EQ(failureFor("http://a/", "http:///x").message,
            "the redirect to \"http:///x\" cannot be followed: it has no host");
}

TEST(RedirectPolicyTest, leavesHTTPForNoOtherScheme) {
  for (const char* location :
       {"ftp://a/", "file:///etc/passwd", "javascript:alert(1)", "data:,x", "gopher://a/", "FILE:/x"}) {
    EXPECT_EQ(failureFor("http://a/", location).code, URLErrorCode::unsupportedURL) << location;
  }
  EXPECT_EQ(urlAfter("http://a/", "HTTPS://a/"), "HTTPS://a/");
}

TEST(RedirectPolicyTest, showsNoPasswordOfALocation) {
  EXPECT_EQ(failureFor("http://a/", "ftp://ada:s3cret@a/").message,
            "the redirect to \"ftp://***@a/\" cannot be followed: only http and https can be");
}

TEST(RedirectPolicyTest, neverStepsDownFromHTTPS) {
  const LoadFailure failure = failureFor("https://a/", "http://a/");

  EXPECT_EQ(failure.code, URLErrorCode::redirectToNonExistentLocation);
  EXPECT_EQ(failure.message, "the redirect to \"http://a/\" cannot be followed: it leads from https to http");
  EXPECT_EQ(failureFor("HTTPS://a/", "HTTP://a/").code, URLErrorCode::redirectToNonExistentLocation);
  EXPECT_EQ(urlAfter("http://a/", "https://a/"), "https://a/");
}

TEST(RedirectPolicyTest, followsTwentyTimesAndNoMore) {
  EXPECT_TRUE(std::holds_alternative<URLRequest>(decideRedirect(requestTo("http://a/"), 302, "/b", 19)));
  EXPECT_EQ(failureFor("http://a/", "/b", 20).code, URLErrorCode::httpTooManyRedirects);
}

TEST(RedirectPolicyTest, comparesOriginsByEffectivePort) {
  EXPECT_TRUE(haveSameOrigin(URL("http://A/x"), URL("HTTP://a:80/y")));
  EXPECT_TRUE(haveSameOrigin(URL("https://a:443"), URL("https://a")));
  EXPECT_FALSE(haveSameOrigin(URL("http://a"), URL("https://a")));
  EXPECT_FALSE(haveSameOrigin(URL("http://a"), URL("http://a:81")));
  EXPECT_FALSE(haveSameOrigin(URL("http://a"), URL("http://b.a")));
}

URLRequest withCredentials(const char* url) {
  URLRequest request = requestTo(url);
  request.allHTTPHeaderFields = {{"authorization", "Bearer x"},      {"Cookie", "a=1"},
                                 {"Proxy-Authorization", "Basic y"}, {"Host", "virtual"},
                                 {"Tracestate", "vendor=1"},         {"Accept", "*/*"}};
  return request;
}

TEST(RedirectPolicyTest, knowsWhatLeavesTheOrigin) {
  const URL sent("https://a/x");
  for (const char* location : {"/y", "?z=1", "https://a:443/y", "//A/y", ""})
    EXPECT_FALSE(leavesOrigin(location, sent));
  for (const char* location : {"http://a/y", "https://b/", "//b/y", "https://a:81/", "org.example:/cb", "ftp://a/"})
    EXPECT_TRUE(leavesOrigin(location, sent)) << location;
}

TEST(RedirectPolicyTest, keepsCredentialsWithinTheOrigin) {
  const URLRequest sent = withCredentials("http://a/");

  EXPECT_EQ(follow(sent, 302, "http://A:80/b").allHTTPHeaderFields, sent.allHTTPHeaderFields);
}

TEST(RedirectPolicyTest, dropsCredentialsWhenTheOriginChanges) {
  for (const char* location : {"http://b/", "https://a/", "http://a:8080/", "//a.b/"}) {
    EXPECT_THAT(follow(withCredentials("http://a/"), 307, location).allHTTPHeaderFields,
                ElementsAre(Pair("Accept", "*/*")))
        << location;
  }
}

TEST(RedirectPolicyTest, neverGivesCredentialsBack) {
  const URLRequest away = follow(withCredentials("http://user:secret@a/"), 302, "http://b/");
  const URLRequest back = follow(away, 302, "http://a/", 1);

  EXPECT_THAT(back.allHTTPHeaderFields, ElementsAre(Pair("Accept", "*/*")));
  EXPECT_EQ(back.url.absoluteString(), "http://a/");
}

TEST(RedirectPolicyTest, takesUserAndPasswordFromTheRequestAlone) {
  EXPECT_EQ(urlAfter("http://a/", "http://user:secret@b/"), "http://b/");
  EXPECT_EQ(urlAfter("http://a/", "http://user@a/x"), "http://a/x");
  EXPECT_EQ(urlAfter("http://me:mine@a/", "/x"), "http://me:mine@a/x");
  EXPECT_EQ(urlAfter("http://me:mine@a/", "http://you:yours@a/x"), "http://me:mine@a/x");
  EXPECT_EQ(urlAfter("http://me:mine@a/", "http://b/x"), "http://b/x");
}

TEST(RedirectPolicyTest, takesTheHostAfterTheLastAtSign) {
  EXPECT_EQ(urlAfter("http://trusted/", "http://trusted@evil/"), "http://evil/");
  EXPECT_THAT(follow(withCredentials("http://trusted/"), 302, "http:\\\\trusted@evil/").allHTTPHeaderFields,
              ElementsAre(Pair("Accept", "*/*")));
}

TEST(RedirectPolicyTest, makesAURLOrAFailureOfRandomLocations) {
  std::mt19937 random(5);
  const std::string pieces[] = {"http:", "https:", "/", "//",  "\\", "@",  ":", "?",        "#",  "%",   "%4",
                                "%41",   "[",      "]", "::1", "a",  "..", " ", "\xC3\xA4", "80", "\xFF"};
  for (int round = 0; round < 20000; ++round) {
    std::string location;
    for (auto count = random() % 9; count > 0; --count) location += pieces[random() % std::size(pieces)];

    const auto decision = decideRedirect(withCredentials("https://u:p@a/b"), 307, location, 0);

    if (const auto* next = std::get_if<URLRequest>(&decision)) {
      ASSERT_THAT(next->url.absoluteString(), testing::StartsWith("https:"));
      ASSERT_TRUE(next->url.host().has_value());
      const bool isSameOrigin = haveSameOrigin(next->url, URL("https://a/"));
      ASSERT_EQ(next->allHTTPHeaderFields.contains("Authorization"), isSameOrigin) << location;
      ASSERT_EQ(next->url.user().has_value(), isSameOrigin) << location;
    }
  }
}

}  // namespace
}  // namespace platform::detail
