#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"

namespace corvane {
namespace {

TEST(CurlCommandTest, isMethodURLAndFlagWithoutHeaders) {
  EXPECT_EQ(DataGetRequest("https://example.com/x").curlCommand(), "curl -X GET 'https://example.com/x' -v");
}

TEST(CurlCommandTest, setsHeadersOffByTwoSpaces) {
  const DataGetRequest request("https://example.com", {{"Accept", "*/*"}, {"X-N", 1}});

  EXPECT_EQ(request.curlCommand(), "curl -X GET 'https://example.com'  -H \"Accept: */*\"  -H \"X-N: 1\" -v");
  EXPECT_EQ(request._curlCommand(), (std::vector<std::string>{"curl -X GET 'https://example.com'",
                                                              " -H \"Accept: */*\"", " -H \"X-N: 1\"", "-v"}));
}

TEST(CurlCommandTest, showsTheURLWithItsQueryItems) {
  const DataGetRequest request("https://example.com", {}, {{"a", 1}});

  EXPECT_EQ(request.curlCommand(), "curl -X GET 'https://example.com?a=1' -v");
}

TEST(CurlCommandTest, addsASummaryOfTheBody) {
  EXPECT_EQ(DataPostRequest("https://example.com", "a=1").curlCommand(),
            "curl -X POST 'https://example.com' -v  -d a=1");
  EXPECT_EQ(DataPostRequest("https://example.com", Data()).curlCommand(),
            "curl -X POST 'https://example.com' -v  -d 0 bytes");
  EXPECT_TRUE(DataPostRequest("https://example.com", Data(std::string(80, 'x')))
                  .curlCommand()
                  .starts_with("curl -X POST 'https://example.com' -v  -d [80 bytes: Corvane.httpDebugData(\""));
}

struct Named : DataGetRequestable<Named> {
  std::string curlCommand = "mine";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST(CurlCommandTest, isTheDebugDescription) {
  const DataGetRequest request("https://example.com");

  EXPECT_EQ(request.debugDescription(), request.curlCommand());
  EXPECT_EQ(Named().debugDescription(), "mine");
}

TEST(CurlCommandDeathTest, trapsWithoutAURL) {
  EXPECT_DEATH((void)DataGetRequest("/").curlCommand(), "Debug output needs the URL.*Malformed URL: /");
}

}  // namespace
}  // namespace corvane
