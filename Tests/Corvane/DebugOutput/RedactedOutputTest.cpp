#include <functional>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Vantorel/CapturingSink.hpp"
#include "Vantorel/LogRecord.hpp"

/// What debug output and command lines leave out by choice.
namespace corvane {
namespace {

using testkit::LogCapture;
using testkit::MockResponse;

struct GetSecretThing : DataGetRequestable<GetSecretThing> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = {};
  HTTPHeaders headers = {{"Authorization", "Bearer hidden-1"}, {"X-Mine", "hidden-2"}, {"X-Open", "shown"}};
  HTTPHeaders sharedHeaders() const { return {}; }
};

class RedactedOutputTest : public testkit::ServerTest {
 protected:
  ~RedactedOutputTest() override {
    Corvane::verbosity = HTTPVerbosityLevel::none;
    Corvane::setRedaction({});
    HTTPClientConfiguration::removeAll();
  }
  static HTTPRedaction redaction() {
    HTTPRedaction result = HTTPRedaction::secrets();
    result.headerFields.push_back("x-mine");
    return result;
  }
  static std::string everythingIn(const LogCapture& log) {
    std::string text;
    for (const auto& record : log->records()) text += vantorel::text(record) + "\n";
    return text;
  }
  GetSecretThing request(std::optional<std::string> identifier = {}) const {
    return {.url = "http://ada:hidden-3@" + server.authority() + "/x?token=hidden-4&page=1",
            .sessionConfigurationIdentifier = std::move(identifier)};
  }
};

TEST_F(RedactedOutputTest, showsEverythingByDefault) {
  EXPECT_EQ(GetSecretThing{.url = "https://a.example/?token=1"}.curlCommand(),
            R"(curl -X GET 'https://a.example/?token=1'  -H "Authorization: Bearer hidden-1"  -H "X-Mine: hidden-2")"
            R"(  -H "X-Open: shown" -v)");
}

TEST_F(RedactedOutputTest, leavesSecretsOutOfTheCommandLine) {
  Corvane::setRedaction(redaction());

  EXPECT_EQ(Corvane::redaction(), redaction());
  EXPECT_EQ(request().curlCommand(), "curl -X GET 'http://REDACTED@" + server.authority() +
                                         "/x?token=REDACTED&page=1'  -H \"Authorization: REDACTED\""
                                         "  -H \"X-Mine: REDACTED\"  -H \"X-Open: shown\" -v");
}

TEST_F(RedactedOutputTest, leavesSecretsOutOfTheLog) {
  Corvane::setRedaction(redaction());
  for (const auto level : {HTTPVerbosityLevel::brief, HTTPVerbosityLevel::verbose}) {
    const LogCapture log;
    Corvane::verbosity = level;
    server.enqueue(MockResponse().header("Set-Cookie", "id=hidden-5").header("X-Open", "shown").text("ok"));

    request().send().get();

    const std::string text = everythingIn(log);
    EXPECT_EQ(text.find("hidden"), std::string::npos) << text;
    EXPECT_NE(text.find("page=1"), std::string::npos) << text;
    EXPECT_EQ(text.find("shown") != std::string::npos, level == HTTPVerbosityLevel::verbose) << text;
  }
}

TEST_F(RedactedOutputTest, leavesSecretsOutOfMessages) {
  Corvane::setRedaction(redaction());
  const LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::verbose;
  server.enqueue(MockResponse(302).header("Location", "ftp://a.example/?token=hidden-5"));

  const auto result = request().send().result();

  ASSERT_TRUE(result.error());
  const std::string text = everythingIn(log);
  EXPECT_EQ(text.find("hidden"), std::string::npos) << text;
}

TEST_F(RedactedOutputTest, isAddedToByAConfiguration) {
  Corvane::setRedaction({.headerFields = {"Authorization"}});
  HTTPClientConfiguration configuration;
  configuration.redaction = {.headerFields = {"X-Mine"}, .queryItems = {"token"}};
  HTTPClientConfiguration::set("service", configuration);

  const std::string ofService = request("service").curlCommand();
  const std::string ofOthers = request().curlCommand();

  EXPECT_NE(ofService.find("X-Mine: REDACTED"), std::string::npos);
  EXPECT_NE(ofService.find("Authorization: REDACTED"), std::string::npos);
  EXPECT_NE(ofService.find("token=REDACTED"), std::string::npos);
  EXPECT_NE(ofOthers.find("X-Mine: hidden-2"), std::string::npos);
  EXPECT_NE(ofOthers.find("Authorization: REDACTED"), std::string::npos);
  HTTPClientConfiguration::remove("service");
  EXPECT_NE(request("service").curlCommand().find("X-Mine: hidden-2"), std::string::npos);
}

TEST_F(RedactedOutputTest, isThatOfTheConfigurationThatTheRequestWasSentWith) {
  HTTPClientConfiguration configuration;
  configuration.redaction = redaction();
  const std::vector<std::function<void()>> changes = {
      [] { HTTPClientConfiguration::remove("service"); }, [] { HTTPClientConfiguration::removeAll(); },
      [] { HTTPClientConfiguration::set("service", HTTPClientConfiguration()); }};
  for (const bool isIntercepted : {false, true}) {
    configuration.interceptors.clear();
    if (isIntercepted) configuration.interceptors.push_back(HTTPInterceptor::changing([](platform::URLRequest&) {}));
    for (const auto& change : changes) {
      HTTPClientConfiguration::set("service", configuration);
      const LogCapture log;
      Corvane::verbosity = HTTPVerbosityLevel::verbose;
      const testkit::Latch changed;
      server.enqueue(MockResponse()
                         .header("Set-Cookie", "id=hidden-5")
                         .text("ok")
                         .hold(testkit::Moment::beforeStatusLine, changed));
      const auto future = request("service").send();
      server.takeRequest();

      change();
      changed.open();
      future.get();

      const std::string text = everythingIn(log);
      EXPECT_EQ(text.find("hidden"), std::string::npos) << text;
      EXPECT_NE(text.find("page=1"), std::string::npos) << text;
    }
  }
}

TEST_F(RedactedOutputTest, followsTheDefaultConfiguration) {
  HTTPClientConfiguration configuration;
  configuration.redaction.hidesURLCredentials = true;
  HTTPClientConfiguration::setDefault(configuration);

  EXPECT_NE(request("any").curlCommand().find("//REDACTED@"), std::string::npos);
}

}  // namespace
}  // namespace corvane
