#include "Platform/Loading/URLRequest.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace platform {
namespace {

using testing::HasSubstr;

URLRequest request() { return URLRequest(URL("http://example.com/")); }

std::string problemWith(std::string_view name, std::string_view value, std::optional<Data> body = std::nullopt) {
  URLRequest one = request();
  one.httpBody = std::move(body);
  one.allHTTPHeaderFields.add(name, value);
  return one.problem();
}

TEST(URLRequestTest, hasThePlatformsDefaults) {
  const URLRequest plain = request();

  EXPECT_EQ(plain.cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
  EXPECT_EQ(plain.timeoutInterval, 60.0);
  EXPECT_EQ(plain.httpMethod, "GET");
  EXPECT_TRUE(plain.allHTTPHeaderFields.isEmpty());
  EXPECT_FALSE(plain.httpBody.has_value());
  EXPECT_EQ(plain.problem(), "");
}

TEST(URLRequestTest, takesAnyTokenForAMethod) {
  for (const char* method :
       {"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "TRACE", "PROPFIND", "get", "X-1!"}) {
    URLRequest one = request();
    one.httpMethod = method;
    EXPECT_EQ(one.problem(), "") << method;
  }
}

TEST(URLRequestTest, objectsToAMethodThatIsNoToken) {
  for (const char* method : {"GE T", "GET\r\nX: 1", "GET ", "G\xC3\x8BT", "GET/"}) {
    URLRequest one = request();
    one.httpMethod = method;
    EXPECT_THAT(one.problem(), HasSubstr("is not a token")) << method;
  }
  URLRequest empty = request();
  empty.httpMethod = "";
  EXPECT_EQ(empty.problem(), "The request's method is empty.");
}

TEST(URLRequestTest, objectsToMethodsThatAreNoLoad) {
  URLRequest tunnel = request();
  tunnel.httpMethod = "CONNECT";
  URLRequest trace = request();
  trace.httpMethod = "TRACE";
  trace.httpBody = Data("body");

  EXPECT_EQ(tunnel.problem(), "The method CONNECT opens a tunnel and cannot be sent as a request.");
  EXPECT_EQ(trace.problem(), "A TRACE request may not have a body.");
}

TEST(URLRequestTest, namesTheFieldThatMayNotBeSent) {
  EXPECT_EQ(problemWith("X-Note", "a\r\nEvil: 1"), "The value of the header field \"X-Note\" holds a line break.");
  EXPECT_THAT(problemWith("X Note", "a"), HasSubstr("The header field name \"X Note\""));
}

TEST(URLRequestTest, wantsAContentLengthToBeThatOfTheBody) {
  EXPECT_EQ(problemWith("Content-Length", "4", Data("four")), "");
  EXPECT_EQ(problemWith("content-length", "0"), "");
  EXPECT_EQ(problemWith("Content-Length", "0", Data()), "");
  EXPECT_EQ(problemWith("Content-Length", "5", Data("four")),
            "The header field \"Content-Length\" says \"5\", but the body has 4 bytes.");
  for (const char* value : {"", "-4", "4, 4", "four", "99999999999999999999"}) {
    EXPECT_THAT(problemWith("Content-Length", value, Data("four")), HasSubstr("but the body has 4 bytes")) << value;
  }
}

TEST(URLRequestTest, objectsToFieldsThatBelongToTheTransport) {
  for (const char* name :
       {"Transfer-Encoding", "Upgrade", "Keep-Alive", "Proxy-Connection", "HTTP2-Settings", "upgrade"}) {
    EXPECT_EQ(problemWith(name, "x"),
              std::string("The header field \"") + name + "\" belongs to the transport and may not be set.");
  }
}

TEST(URLRequestTest, takesOnlyHarmlessValuesOfFieldsThatSteerTheConnection) {
  EXPECT_EQ(problemWith("Connection", "close"), "");
  EXPECT_EQ(problemWith("connection", "Keep-Alive"), "");
  EXPECT_EQ(problemWith("Connection", "close, X-Hop"),
            "The header field \"Connection\" may only say \"close\" or \"keep-alive\", not \"close, X-Hop\".");
  EXPECT_EQ(problemWith("Expect", "100-Continue"), "");
  EXPECT_EQ(problemWith("Expect", "200-ok"),
            "The header field \"Expect\" may only say \"100-continue\", not \"200-ok\".");
  EXPECT_EQ(problemWith("TE", "trailers"), "");
  EXPECT_EQ(problemWith("TE", "trailers, gzip"),
            "The header field \"TE\" may only say \"trailers\", not \"trailers, gzip\".");
}

TEST(URLRequestTest, takesAHostWithAnOptionalPort) {
  for (const char* host :
       {"example.com", "example.com:8080", "127.0.0.1", "[::1]", "[2001:db8::1]:443", "a_b-c.d:0", "h%C3%A4"}) {
    EXPECT_EQ(problemWith("Host", host), "") << host;
  }
  for (const char* host : {"", ":80", "example.com:", "example.com:65536", "example.com:http", "exa mple.com", "a/b",
                           "user@host", "[::1", "[::1]x", "[example]", "::1", "a,b:1:2", "h\xC3\xA4", "[::1%25eth0]"}) {
    EXPECT_THAT(problemWith("Host", host), HasSubstr("is not a host with an optional port")) << host;
  }
}

TEST(URLRequestTest, objectsToRepeatedFieldsThatMustBeUnique) {
  for (const auto& [name, value] : {std::pair{"Host", "example.com"}, std::pair{"Content-Length", "0"}}) {
    URLRequest one = request();
    one.allHTTPHeaderFields.add(name, value);
    one.allHTTPHeaderFields.add(name, value);
    EXPECT_EQ(one.problem(), std::string("The header field \"") + name + "\" may be set once only.");
  }
}

TEST(URLRequestTest, wantsAPositiveFiniteTimeOut) {
  for (const double seconds : {0.0, -1.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
    URLRequest one = request();
    one.timeoutInterval = seconds;
    EXPECT_EQ(one.problem(), "The request's time-out must be a positive finite number of seconds.") << seconds;
  }
  URLRequest brief = request();
  brief.maximumBodyBytes = -1;
  EXPECT_EQ(brief.problem(), "The request's limit for the body of the response must not be negative.");
  brief.maximumBodyBytes = 0;
  brief.timeoutInterval = 0.001;
  EXPECT_EQ(brief.problem(), "");
}

}  // namespace
}  // namespace platform
