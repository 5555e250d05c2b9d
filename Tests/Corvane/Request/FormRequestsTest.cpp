#include "Corvane/Request/FormRequests.hpp"

#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;

struct Token {
  std::string access;
};

struct RefreshToken : FormPostRequestable<RefreshToken, Token> {
  std::string token;
  URL url;
  HTTPFormBody body() const { return {{"grant_type", "refresh_token"}, {"refresh_token", token}}; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct PutForm : DataPutRequestable<PutForm, HTTPFormBody> {
  URL url;
  HTTPFormBody body;
  HTTPMediaType contentType = "application/x-www-form-urlencoded; charset=utf-8";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class FormRequestsTest : public testkit::ServerTest {
 protected:
  ~FormRequestsTest() override { Corvane::resetSessions(); }
};

TEST_F(FormRequestsTest, sendsAFormWithItsTypeAndReadsJSON) {
  server.enqueue(MockResponse(200).json(R"({"access": "abc"})"));

  const Token token = FormPostRequest<Token>(server.url("/token"), {{"grant_type", "a b"}}).send().get().body;

  EXPECT_EQ(token.access, "abc");
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "grant_type=a+b");
  EXPECT_EQ(received.header("Content-Type"), "application/x-www-form-urlencoded");
  EXPECT_EQ(received.header("Content-Length"), "14");
  EXPECT_EQ(received.header("Accept"), "application/json");
}

TEST_F(FormRequestsTest, sendsAFormForBytes) {
  server.enqueue(MockResponse(200).body("ok"));

  const auto response =
      DataFormPostRequest(server.url("/"), {{"a", 1}, {"a", 2}}, {.queryItems = {{"q", "x"}}}).send().get();

  EXPECT_EQ(response.body.text(), "ok");
  const auto received = server.takeRequest();
  EXPECT_EQ(received.target, "/?q=x");
  EXPECT_EQ(received.body, "a=1&a=2");
}

TEST_F(FormRequestsTest, isABodyOfRequestTypes) {
  server.enqueue(MockResponse(200).json(R"({"access": "abc"})"));

  const Token token = RefreshToken{.token = "t+1", .url = server.url("/")}.send().get().body;

  EXPECT_EQ(token.access, "abc");
  EXPECT_EQ(server.takeRequest().body, "grant_type=refresh_token&refresh_token=t%2B1");
}

TEST_F(FormRequestsTest, isSentAgainWhereARedirectAsksForIt) {
  server.enqueue(MockResponse(307).header("Location", "/there"));
  server.enqueue(MockResponse(200));

  DataFormPostRequest(server.url("/"), {{"a", 1}}).send().get();

  EXPECT_EQ(server.takeRequest().body, "a=1");
  EXPECT_EQ(server.takeRequest().body, "a=1");
}

TEST(FormRequestTest, letsTheRequestNameAnotherType) {
  const auto fields = PutForm{.url = "https://h/", .body = {{"a", 1}}}.urlRequest().allHTTPHeaderFields;

  EXPECT_EQ(fields.value("Content-Type"), "application/x-www-form-urlencoded; charset=utf-8");
}

TEST(FormRequestTest, isShownLikeOtherBodies) {
  const DataFormPostRequest request("https://h/", {{"name", "Ada L."}});

  EXPECT_TRUE(request.curlCommand().ends_with(" -v  -d name=Ada+L.")) << request.curlCommand();
  EXPECT_NE(request.shellCommand().text.find(" --data-binary 'name=Ada+L.'"), std::string::npos)
      << request.shellCommand().text;
}

}  // namespace
}  // namespace corvane
