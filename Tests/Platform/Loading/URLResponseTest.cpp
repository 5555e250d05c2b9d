#include "Platform/Loading/URLResponse.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform {
namespace {

HTTPURLResponse httpResponse(HTTPHeaderFields fields, const char* url = "http://example.com/a/b") {
  return HTTPURLResponse(URL(url), 200, "HTTP/1.1", std::move(fields));
}

HTTPURLResponse ofType(const char* contentType) { return httpResponse({{"Content-Type", contentType}}); }

TEST(URLResponseTest, keepsWhatItIsMadeOf) {
  const URLResponse response(URL("file:///tmp/a.txt"), "text/plain", 12, "utf-8");

  EXPECT_EQ(response.url(), URL("file:///tmp/a.txt"));
  EXPECT_EQ(response.mimeType(), "text/plain");
  EXPECT_EQ(response.expectedContentLength(), 12);
  EXPECT_EQ(response.textEncodingName(), "utf-8");
  EXPECT_EQ(response.suggestedFilename(), "a.txt");
}

TEST(HTTPURLResponseTest, findsFieldsWithoutRegardToCase) {
  const HTTPURLResponse response(URL("http://example.com/"), 404, "HTTP/2", {{"X-Thing", "1"}});

  EXPECT_EQ(response.statusCode(), 404);
  EXPECT_EQ(response.httpVersion(), "HTTP/2");
  EXPECT_EQ(response.value("x-thing"), "1");
  EXPECT_EQ(response.value("y-thing"), std::nullopt);
  EXPECT_EQ(response.allHeaderFields().count(), 1U);
}

TEST(HTTPURLResponseTest, readsTypeAndCharset) {
  EXPECT_EQ(ofType("Text/HTML; Charset=\"UTF-8\"").mimeType(), "text/html");
  EXPECT_EQ(ofType("Text/HTML; Charset=\"UTF-8\"").textEncodingName(), "utf-8");
  EXPECT_EQ(ofType("text/plain;charset=iso-8859-1 ; x=y").textEncodingName(), "iso-8859-1");
  EXPECT_EQ(ofType("text/plain; a=\"x;charset=no\"; charset=yes").textEncodingName(), "yes");
  EXPECT_EQ(ofType("text/plain; charset=\"u\\tf\\-8\"").textEncodingName(), "utf-8");
  EXPECT_EQ(ofType("text/plain; charset=one; charset=two").textEncodingName(), "one");
  EXPECT_EQ(ofType("application/json").mimeType(), "application/json");
  EXPECT_EQ(ofType("application/json").textEncodingName(), std::nullopt);
  EXPECT_EQ(ofType("text/plain; charset=").textEncodingName(), std::nullopt);
  EXPECT_EQ(ofType("text/plain; charset").textEncodingName(), std::nullopt);
  EXPECT_EQ(ofType("text/plain; charset=\"unclosed").textEncodingName(), "unclosed");
  EXPECT_EQ(ofType("text/plain;;; ;charset=a").textEncodingName(), "a");
}

TEST(HTTPURLResponseTest, hasNoTypeWhenItIsMalformed) {
  for (const char* type :
       {"", "text", "text/", "/plain", "text/html, text/plain", "te xt/plain", "text/html/x", ";charset=x"}) {
    EXPECT_EQ(ofType(type).mimeType(), std::nullopt) << type;
    EXPECT_EQ(ofType(type).textEncodingName(), std::nullopt) << type;
  }
}

TEST(HTTPURLResponseTest, takesTheLastWellFormedTypeOfSeveral) {
  HTTPHeaderFields fields;
  fields.add("Content-Type", "text/html; charset=a");
  fields.add("content-type", "text/plain");
  fields.add("Content-Type", "nonsense");

  EXPECT_EQ(httpResponse(fields).mimeType(), "text/plain");
  EXPECT_EQ(httpResponse(fields).textEncodingName(), std::nullopt);
}

TEST(HTTPURLResponseTest, readsTheExpectedLength) {
  EXPECT_EQ(httpResponse({{"Content-Length", "42"}}).expectedContentLength(), 42);
  EXPECT_EQ(httpResponse({{"content-length", "0"}}).expectedContentLength(), 0);
  EXPECT_EQ(httpResponse({{"Content-Length", "5, 5"}}).expectedContentLength(), 5);
  EXPECT_EQ(httpResponse({}).expectedContentLength(), URLResponse::unknownLength);
  for (const char* length : {"-1", "five", "5, 6", "99999999999999999999", ""}) {
    EXPECT_EQ(httpResponse({{"Content-Length", length}}).expectedContentLength(), -1) << length;
  }
}

TEST(HTTPURLResponseTest, suggestsTheNameInItsDisposition) {
  EXPECT_EQ(httpResponse({{"Content-Disposition", "attachment; filename=\"report.pdf\""}}).suggestedFilename(),
            "report.pdf");
  EXPECT_EQ(httpResponse({}, "http://example.com/a/data.csv?x=1").suggestedFilename(), "data.csv");
  EXPECT_EQ(httpResponse({{"Content-Type", "application/json"}}, "http://example.com/users").suggestedFilename(),
            "users.json");
}

TEST(HTTPURLResponseTest, isAURLResponse) {
  const std::shared_ptr<const URLResponse> response = std::make_shared<HTTPURLResponse>(
      URL("http://h/x"), 200, "HTTP/1.1", HTTPHeaderFields{{"Content-Disposition", "inline; filename=y"}});

  EXPECT_EQ(response->suggestedFilename(), "y");
}

TEST(HTTPURLResponseTest, makesAFileNameThatItIsGivenSafe) {
  const auto nameOf = [](std::string given) {
    return HTTPURLResponse(URL("http://h/path.txt"), 200, "1.1", {}, {.suggestedFilename = std::move(given)})
        .suggestedFilename();
  };

  EXPECT_EQ(nameOf("report.pdf"), "report.pdf");
  EXPECT_EQ(nameOf("../../etc/x"), "x");
  EXPECT_EQ(nameOf(".."), "path.txt");
}

}  // namespace
}  // namespace platform
