#include "AnswerReport.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "CommandLine.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace {

using corvane::CFNetworkErrors;
using corvane::Data;
using corvane::Error;
using corvane::HTTPHeaderFields;
using corvane::HTTPResponseError;
using corvane::HTTPStatus;
using corvane::HTTPURLResponse;
using corvane::testing::TemporaryDirectory;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

HTTPHeaderFields fieldsOfTheAnswer() {
  HTTPHeaderFields fields{{"Content-Type", "text/plain"}, {"X-Many", "1"}};
  fields.add("x-many", "2");
  return fields;
}

FinishedExchange answered(int status, std::optional<Error> error = std::nullopt) {
  const auto response = std::make_shared<HTTPURLResponse>("http://host/p", status, "HTTP/1.1", fieldsOfTheAnswer());
  return {.number = 1, .response = ToolResponse(Data("body\n"), std::nullopt, response, error), .seconds = 0.25};
}

FinishedExchange failed(Error error) {
  return {.number = 1, .response = ToolResponse(std::nullopt, std::nullopt, nullptr, std::move(error)), .seconds = 0.5};
}

struct Told {
  std::string output;
  std::string problems;
  bool hasFailure;
};

Told told(const CommandLine& line, const FinishedExchange& exchange) {
  const ToolOptions options = ToolOptions::from(line);
  AnswerReport report(options);
  CaptureStdout();
  CaptureStderr();
  report.add(exchange);
  return {GetCapturedStdout(), GetCapturedStderr(), report.hasFailure()};
}

const CommandLine plain{.url = "http://host/p"};
const CommandLine json{.url = "http://host/p", .report = "json"};

TEST(AnswerReportTest, writesTheBodyAsItCame) {
  const Told all = told(plain, answered(200));

  EXPECT_EQ(all.output, "body\n");
  EXPECT_EQ(all.problems, "");
  EXPECT_FALSE(all.hasFailure);
}

TEST(AnswerReportTest, writesTheBodyOfAnUnacceptableAnswerAndWhatIsWrong) {
  const Told all = told(plain, answered(404, HTTPResponseError::unacceptableStatus(HTTPStatus::notFound)));

  EXPECT_EQ(all.output, "body\n");
  EXPECT_EQ(all.problems, "corvane: HTTPStatus: notFound:404 is unacceptable\n");
  EXPECT_TRUE(all.hasFailure);
}

TEST(AnswerReportTest, tellsTheNumberOfAStatusWithoutAName) {
  const Told all = told(plain, answered(599, HTTPResponseError::unacceptableStatus(HTTPStatus::unknown)));

  EXPECT_NE(all.problems.find("(status 599)"), all.problems.npos) << all.problems;
}

TEST(AnswerReportTest, writesNothingOfAnAnswerThatIsNotComplete) {
  const Told all = told(plain, answered(200, CFNetworkErrors::networkConnectionLost()));

  EXPECT_EQ(all.output, "");
  EXPECT_TRUE(all.hasFailure);
}

TEST(AnswerReportTest, reportsAnAnswerInOneLine) {
  const Told all = told(json, answered(200));

  EXPECT_EQ(all.output,
            R"({"status": 200, "statusName": "success", "url": "http://host/p", )"
            R"("headers": {"Content-Type": ["text/plain"], "X-Many": ["1", "2"]}, "bodyBytes": 5, "file": null, )"
            R"("error": null, "seconds": 0.250000})"
            "\n");
  EXPECT_FALSE(all.hasFailure);
}

TEST(AnswerReportTest, reportsAFailureInOneLineAndNowhereElse) {
  const Told all = told(json, failed(CFNetworkErrors::timedOut()));

  EXPECT_EQ(all.output,
            R"({"status": null, "statusName": "unknown", "url": "http://host/p", "headers": {}, "bodyBytes": 0, )"
            R"("file": null, "error": {"domain": "CFNetwork.CFNetworkErrors", "code": -1001, )"
            R"("type": "CFNetworkErrors", "case": "timedOut", )"
            R"("message": "CFURL/NSURL error: The connection timed out."}, "seconds": 0.500000})"
            "\n");
  EXPECT_EQ(all.problems, "");
  EXPECT_TRUE(all.hasFailure);
}

TEST(AnswerReportTest, savesTheBodyAndSaysWhere) {
  const TemporaryDirectory folder;
  CommandLine line = json;
  line.output = folder / "body";

  const Told all = told(line, answered(200));

  EXPECT_EQ(folder.read("body"), "body\n");
  EXPECT_NE(all.output.find("\"file\": \"" + *line.output + "\""), all.output.npos) << all.output;
}

TEST(AnswerReportTest, numbersTheFilesOfSeveralAnswers) {
  const TemporaryDirectory folder;
  CommandLine line = plain;
  line.output = folder / "body";
  line.repeat = 2;

  const Told all = told(line, answered(200));

  EXPECT_EQ(folder.read("body.1"), "body\n");
  EXPECT_EQ(all.output, "");
}

TEST(AnswerReportTest, saysWhyAFileCannotBeWritten) {
  const TemporaryDirectory folder;
  CommandLine line = plain;
  line.output = folder / "missing/body";

  const Told all = told(line, answered(200));

  EXPECT_EQ(all.problems, "corvane: cannot write " + *line.output + ": No such file or directory\n");
  EXPECT_TRUE(all.hasFailure);
}

}  // namespace
