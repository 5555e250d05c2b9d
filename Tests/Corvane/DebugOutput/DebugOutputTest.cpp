#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/LogCapture.hpp"

namespace corvane {
namespace {

using platform::Dictionary;
using vantorel::LogLevel;
using vantorel::LogRecord;

class DebugOutputTest : public ::testing::Test {
 protected:
  ~DebugOutputTest() override { Corvane::verbosity = HTTPVerbosityLevel::none; }

  static std::shared_ptr<const URLResponse> httpResponse(int status, const HTTPHeaderFields& headers = {}) {
    return std::make_shared<HTTPURLResponse>("https://example.com/x", status, "HTTP/1.1", headers);
  }
  LogRecord onlyRecord() const {
    const auto records = log->records();
    EXPECT_EQ(records.size(), 1u);
    return records.empty() ? LogRecord{} : records.front();
  }
  void print(std::optional<Error> error, std::shared_ptr<const URLResponse> response, std::optional<Data> data) {
    request.printDebugOutput(error, DataResponse(data, std::nullopt, response, error), data);
  }
  Dictionary userInfo() const { return onlyRecord().userInfo.value_or(Dictionary()); }
  static std::string text(const Dictionary& dictionary, const char* key) {
    const auto* value = dictionary.find(key);
    return value && value->text() ? *value->text() : "(no text)";
  }

  corvane::testkit::LogCapture log;
  const DataGetRequest request{"https://example.com/x"};
  const Error cancelled{platform::NSURLErrorDomain, -999, "cancelled"};
};

TEST_F(DebugOutputTest, isSilentAtFirst) {
  EXPECT_EQ(Corvane::verbosity.load(), HTTPVerbosityLevel::none);

  print(std::nullopt, httpResponse(200), Data("x"));

  EXPECT_TRUE(log->records().empty());
}

TEST_F(DebugOutputTest, saysMethodURLAndStatusWhenBrief) {
  Corvane::verbosity = HTTPVerbosityLevel::brief;

  print(std::nullopt, httpResponse(404), Data("x"));

  const LogRecord record = onlyRecord();
  EXPECT_EQ(record.message, "REQUEST GET 'https://example.com/x' RESPONSE status: 404");
  EXPECT_EQ(record.level, LogLevel::debug);
  EXPECT_FALSE(record.userInfo);
  EXPECT_EQ(record.file, "");
  EXPECT_EQ(record.function, "");
  EXPECT_EQ(record.line, 0);
}

TEST_F(DebugOutputTest, saysTheErrorWhenBrief) {
  Corvane::verbosity = HTTPVerbosityLevel::brief;

  print(Error("D", 3, "no route"), nullptr, std::nullopt);

  EXPECT_EQ(onlyRecord().message, "REQUEST GET 'https://example.com/x' RESPONSE status: 1000 error: no route");
}

TEST_F(DebugOutputTest, saysCancelledWhenBrief) {
  Corvane::verbosity = HTTPVerbosityLevel::brief;

  print(cancelled, nullptr, std::nullopt);

  EXPECT_EQ(onlyRecord().message, "REQUEST GET 'https://example.com/x' RESPONSE Cancelled");
}

TEST_F(DebugOutputTest, tellsTheWholeExchangeWhenVerbose) {
  Corvane::verbosity = HTTPVerbosityLevel::verbose;

  print(std::nullopt, httpResponse(200, {{"X-A", "1"}}), Data("hello"));

  EXPECT_EQ(onlyRecord().message, "https://example.com/x");
  EXPECT_EQ(userInfo(),
            (Dictionary{{"curl", "curl -X GET 'https://example.com/x' -v"},
                        {"status", "200 (success)"},
                        {"response", Dictionary{{"body", "hello"}, {"headers", Dictionary{{"X-A", "1"}}}}}}));
}

TEST_F(DebugOutputTest, tellsTheErrorWhenVerbose) {
  Corvane::verbosity = HTTPVerbosityLevel::verbose;

  print(Error("D", 3, "no route"), nullptr, std::nullopt);

  const Dictionary& response = *userInfo().find("response")->dictionary();
  EXPECT_EQ(response, (Dictionary{{"body", "0 bytes"}, {"error", "no route"}}));
  EXPECT_EQ(text(userInfo(), "status"), "1000 (unknown)");
}

TEST_F(DebugOutputTest, tellsCancelledWhenVerbose) {
  Corvane::verbosity = HTTPVerbosityLevel::verbose;

  print(cancelled, nullptr, std::nullopt);

  EXPECT_EQ(text(*userInfo().find("response")->dictionary(), "error"), "Cancelled");
}

TEST_F(DebugOutputTest, writesTypeStatusAndHeadersOfAResponse) {
  const DataResponse response(std::nullopt, std::nullopt, httpResponse(404, {{"X-A", "1"}, {"X-B", "2"}}),
                              std::nullopt);

  EXPECT_EQ(debugStatusAndHeaders(response),
            "    ·Type: corvane::DataResponse\n    ·HTTP Status: notFound\n    ·Headers:\tX-A: 1\n\tX-B: 2\n");
}

TEST_F(DebugOutputTest, isAMemberOfEveryResponse) {
  const DataResponse response(std::nullopt, std::nullopt, httpResponse(404, {{"X-A", "1"}}), std::nullopt);

  EXPECT_EQ(response.debugStatusAndHeaders(), debugStatusAndHeaders(response));
}

struct ComputedResponse : HTTPResponsableDefaults<ComputedResponse> {
  HTTPStatus status() const { return HTTPStatus::created; }
  std::optional<HTTPHeaderFields> headers() const { return HTTPHeaderFields{{"X-A", "1"}}; }
};

TEST_F(DebugOutputTest, readsWhatAResponseComputes) {
  EXPECT_THAT(ComputedResponse().debugStatusAndHeaders(),
              ::testing::EndsWith("ComputedResponse\n    ·HTTP Status: created\n    ·Headers:\tX-A: 1\n"));
}

TEST_F(DebugOutputTest, writesNoHeadersWhereThereAreNone) {
  const DataResponse response(std::nullopt, std::nullopt, nullptr, cancelled);

  EXPECT_EQ(debugStatusAndHeaders(response),
            "    ·Type: corvane::DataResponse\n    ·HTTP Status: unknown\n    ·Headers:");
}

}  // namespace
}  // namespace corvane
