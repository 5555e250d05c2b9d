#include "TestSupport/StandardRoutes.hpp"

#include "CorvaneTesting/Compression.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/RawClient.hpp"

namespace corvane::testkit {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class StandardRoutesTest : public ServerTest {
 protected:
  StandardRoutesTest() { installStandardRoutes(server); }

  std::string fetch(const std::string& target) { return RawClient(server).exchange(closingGet(target)); }
  std::string send(const std::string& target, const std::string& headers, const std::string& body) {
    return RawClient(server).exchange("POST " + target + " HTTP/1.1\r\nConnection: close\r\nContent-Length: " +
                                      std::to_string(body.size()) + "\r\n" + headers + "\r\n" + body);
  }
  static std::string bodyOf(const std::string& response) { return response.substr(response.find("\r\n\r\n") + 4); }
};

TEST_F(StandardRoutesTest, describeTheRequest) {
  EXPECT_EQ(bodyOf(fetch("/get?a=%22")),
            "{\"method\": \"GET\", \"target\": \"/get?a=%22\", "
            "\"headers\": [[\"Host\", \"test\"], [\"Connection\", \"close\"]]}\n");
  EXPECT_EQ(bodyOf(RawClient(server).exchange("GET /headers HTTP/1.0\r\nX: \"a\\b\"\t\xC3\xA4\xFF\r\n\r\n")),
            "{\"headers\": [[\"X\", \"\\\"a\\\\b\\\"\\u0009\xC3\xA4\xEF\xBF\xBD\"]]}\n");
}

TEST_F(StandardRoutesTest, echoTheBodyWithItsType) {
  const std::string response = send("/echo", "Content-Type: text/x\r\n", "hello");

  EXPECT_THAT(response, HasSubstr("\r\nContent-Type: text/x\r\n"));
  EXPECT_EQ(bodyOf(response), "hello");
}

TEST_F(StandardRoutesTest, decodeAPostedBody) {
  const std::string encoded = gzipped("hello, hello, hello, hello, hello");

  const std::string response = send("/post", "Content-Encoding: gzip\r\n", encoded);

  EXPECT_THAT(response, HasSubstr("\r\nX-Received-Length: " + std::to_string(encoded.size()) + "\r\n"));
  EXPECT_THAT(response, HasSubstr("\r\nX-Decoded-Length: 33\r\n"));
  EXPECT_EQ(bodyOf(response), "hello, hello, hello, hello, hello");
  EXPECT_THAT(send("/post", "Content-Encoding: gzip\r\n", "plain"), StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(send("/post", "Content-Encoding: br\r\n", "plain"), StartsWith("HTTP/1.1 415"));
}

TEST_F(StandardRoutesTest, knowUsers) {
  EXPECT_EQ(bodyOf(fetch("/users/12")), "{\"id\": 12, \"login\": \"ada\", \"name\": \"Ada Lovelace\"}\n");
  EXPECT_THAT(fetch("/users/0"), StartsWith("HTTP/1.1 404"));
  EXPECT_THAT(fetch("/users/ada"), StartsWith("HTTP/1.1 400"));
}

TEST_F(StandardRoutesTest, answerANewObjectWithAnId) {
  const std::string response = send("/users", "", " { \"login\":\"ada\"}\n");

  EXPECT_THAT(response, StartsWith("HTTP/1.1 201 Created\r\n"));
  EXPECT_EQ(bodyOf(response), "{\"id\": 7, \"login\":\"ada\"}\n");
  EXPECT_EQ(bodyOf(send("/orders", "", "{ }")), R"({"id": 7})");
  EXPECT_THAT(send("/orders", "", "[]"), StartsWith("HTTP/1.1 422"));
}

TEST_F(StandardRoutesTest, answerWithTheStatusAskedFor) {
  EXPECT_THAT(fetch("/status/418"), StartsWith("HTTP/1.1 418 Unknown\r\n"));
  EXPECT_THAT(fetch("/status/204"),
              EndsWith("HTTP/1.1 204 No Content\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n"));
  for (const char* target : {"/status/x", "/status/", "/status/100", "/status/1000", "/status/-1"}) {
    EXPECT_THAT(fetch(target), StartsWith("HTTP/1.1 400 Bad Request\r\n")) << target;
  }
}

TEST_F(StandardRoutesTest, delayByFractionsOfASecond) {
  const auto start = std::chrono::steady_clock::now();

  EXPECT_THAT(fetch("/delay/0.02"), StartsWith("HTTP/1.1 200"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
  for (const char* target : {"/delay/", "/delay/-1", "/delay/nan", "/delay/1e9", "/delay/1x"}) {
    EXPECT_THAT(fetch(target), StartsWith("HTTP/1.1 400")) << target;
  }
}

TEST_F(StandardRoutesTest, sendBytesChunksAndGzip) {
  EXPECT_EQ(bodyOf(fetch("/bytes/1000")), generatedBytes(1000));
  EXPECT_THAT(fetch("/stream/2"), HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
  EXPECT_THAT(fetch("/stream/2"), HasSubstr("\"line\": 1}\n\r\n0\r\n\r\n"));
  EXPECT_THAT(fetch("/stream/10001"), StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(gunzipped(bodyOf(fetch("/gzip"))), EndsWith("\"gzipped\": true}\n"));
  EXPECT_EQ(fetch("/drop"), "");
}

TEST_F(StandardRoutesTest, suggestAnyFileName) {
  const std::string response = fetch("/files/..%2F%22a%22%5C.pdf?size=3");

  EXPECT_THAT(response, HasSubstr("\r\nContent-Disposition: attachment; filename=\"../\\\"a\\\"\\\\.pdf\"\r\n"));
  EXPECT_EQ(bodyOf(response), generatedBytes(3));
  EXPECT_EQ(bodyOf(fetch("/files/a")).size(), 1'000'000U);
  EXPECT_THAT(fetch("/files/a%0D%0Ab"), StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(fetch("/files/a?size=many"), StartsWith("HTTP/1.1 400"));
}

TEST_F(StandardRoutesTest, readForms) {
  const std::string type = "Content-Type: multipart/form-data; boundary=B\r\n";

  const std::string response = send("/form", type,
                                    "--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n\r\nx\r\n"
                                    "--B\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\nContent-Type: t\r\ny\r\n"
                                    "--B\r\nContent-Disposition: form-data; name=\"c\"\r\n; filename=\"f\"\r\n"
                                    "Content-Type: u\r\nz\r\n--B--\r\n");

  EXPECT_EQ(bodyOf(response),
            R"({"sections": [{"name": "a", "content": "\u000d\u000ax"}, {"name": "b", "type": "t", "content": "y"}, )"
            R"({"name": "c", "fileName": "f", "type": "u", "content": "z"}]})"
            "\n");
  EXPECT_EQ(bodyOf(send("/form", type, "\r\n--B--\r\n")), "{\"sections\": []}\n");
  EXPECT_THAT(send("/form", "", "x"), StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(send("/form", type, "--B\r\n"), StartsWith("HTTP/1.1 400"));
}

TEST_F(StandardRoutesTest, failSoManyTimesInARow) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_THAT(fetch("/flaky/2"), StartsWith("HTTP/1.1 503"));
    EXPECT_THAT(fetch("/flaky/2"), StartsWith("HTTP/1.1 503"));
    EXPECT_EQ(bodyOf(fetch("/flaky/2")), "done\n");
  }
  EXPECT_THAT(fetch("/flaky/0"), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(fetch("/flaky/often"), StartsWith("HTTP/1.1 400"));
}

TEST_F(StandardRoutesTest, countFailuresOfEachPathByItself) {
  EXPECT_THAT(fetch("/flaky/1"), StartsWith("HTTP/1.1 503"));
  EXPECT_THAT(fetch("/flaky/01"), StartsWith("HTTP/1.1 503"));

  EXPECT_THAT(fetch("/flaky/1"), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(fetch("/flaky/01"), StartsWith("HTTP/1.1 200"));
}

TEST_F(StandardRoutesTest, redirect) {
  EXPECT_THAT(fetch("/redirect/2"), HasSubstr("\r\nLocation: /redirect/1\r\n"));
  EXPECT_THAT(fetch("/redirect/1"), HasSubstr("\r\nLocation: /get\r\n"));
  EXPECT_THAT(fetch("/redirect-to?url=http%3A%2F%2Fa%2F&status=307"),
              StartsWith("HTTP/1.1 307 Temporary Redirect\r\nLocation: http://a/\r\n"));
  EXPECT_THAT(fetch("/redirect-to?url=a%0D%0Ab"), StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(fetch("/redirect-to"), StartsWith("HTTP/1.1 400"));
}

TEST_F(StandardRoutesTest, setAndShowCookies) {
  EXPECT_THAT(fetch("/cookies/set?a=1&b=x%20y"),
              HasSubstr("\r\nSet-Cookie: a=1; Path=/\r\nSet-Cookie: b=x y; Path=/\r\n"));
  EXPECT_EQ(bodyOf(RawClient(server).exchange("GET /cookies HTTP/1.0\r\nCookie: a=1; b=x y;c\r\n\r\n")),
            "{\"cookies\": {\"a\": \"1\", \"b\": \"x y\", \"c\": \"\"}}\n");
  EXPECT_EQ(bodyOf(fetch("/cookies")), "{\"cookies\": {}}\n");
}

}  // namespace
}  // namespace corvane::testkit
