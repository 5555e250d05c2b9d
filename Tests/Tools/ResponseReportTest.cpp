#include "ResponseReport.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "CommandLine.hpp"
#include "DownloadFolder.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace {

using corvane::CFNetworkErrors;
using corvane::Data;
using corvane::Error;
using corvane::HTTPHeaderFields;
using corvane::HTTPResponseError;
using corvane::HTTPStatus;
using corvane::HTTPURLResponse;
using corvane::testkit::TemporaryDirectory;
using Reader = ResponseReport::Reader;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

HTTPHeaderFields fieldsOfTheResponse() {
  HTTPHeaderFields fields{{"Content-Type", "text/plain"}, {"X-Many", "1"}};
  fields.add("x-many", "2");
  return fields;
}

FinishedExchange respondedWith(const std::string& body, const std::string& mediaType) {
  const auto response = std::make_shared<HTTPURLResponse>("http://host/p", 200, "HTTP/1.1",
                                                          HTTPHeaderFields{{"Content-Type", mediaType}});
  return {.number = 1,
          .url = "http://host/p",
          .response = ToolResponse(Data(body), std::nullopt, response, std::nullopt),
          .seconds = 0.25};
}

FinishedExchange finished(int status, std::optional<Error> error = std::nullopt) {
  const auto response = std::make_shared<HTTPURLResponse>("http://host/p", status, "HTTP/1.1", fieldsOfTheResponse());
  return {.number = 1,
          .url = "http://host/p",
          .response = ToolResponse(Data("body\n"), std::nullopt, response, error),
          .seconds = 0.25};
}

FinishedExchange failed(Error error) {
  return {.number = 1,
          .url = "http://host/p",
          .response = ToolResponse(std::nullopt, std::nullopt, nullptr, std::move(error)),
          .seconds = 0.5};
}

struct Told {
  std::string output;
  std::string problems;
  bool hasFailure;
};

Told told(const CommandLine& line, const FinishedExchange& exchange, Reader reader = Reader::program) {
  const ToolOptions options = ToolOptions::from(line);
  ResponseReport report(options, reader);
  CaptureStdout();
  CaptureStderr();
  report.add(exchange);
  return {GetCapturedStdout(), GetCapturedStderr(), report.hasFailure()};
}

/// What is told of a download that is saved in `folder`, and arrived as a file of that name.
Told toldOfDownload(const TemporaryDirectory& folder, CommandLine line, const std::string& content) {
  line.download = folder.path();
  const ToolOptions options = ToolOptions::from(line);
  const DownloadFolder downloads(folder.path());
  const std::string arrived = downloads.arrivals() + "/report.pdf";
  std::ofstream(arrived) << content;
  const auto response = std::make_shared<HTTPURLResponse>("http://host/p", 200, "HTTP/1.1", HTTPHeaderFields());
  const ToolResponse received = ToolDownloadResponse(std::nullopt, corvane::URL::file(arrived), response, std::nullopt);
  ResponseReport report(options, Reader::program, &downloads);
  CaptureStdout();
  CaptureStderr();
  report.add({.number = 1, .url = "http://host/p", .response = received, .seconds = 0.25});
  return {GetCapturedStdout(), GetCapturedStderr(), report.hasFailure()};
}

const CommandLine plain{.url = "http://host/p"};
const CommandLine json{.url = "http://host/p", .report = "json"};

TEST(ResponseReportTest, writesTheBodyAsItCame) {
  const Told all = told(plain, finished(200));

  EXPECT_EQ(all.output, "body\n");
  EXPECT_EQ(all.problems, "");
  EXPECT_FALSE(all.hasFailure);
}

TEST(ResponseReportTest, writesTheBodyOfAnUnacceptableResponseAndWhatIsWrong) {
  const Told all = told(plain, finished(404, HTTPResponseError::unacceptableStatus(HTTPStatus::notFound)));

  EXPECT_EQ(all.output, "body\n");
  EXPECT_EQ(all.problems, "corvane: the server responded with status 404 Not Found\n");
  EXPECT_TRUE(all.hasFailure);
}

TEST(ResponseReportTest, writesTheHeadBeforeTheBodyWhenItIsIncluded) {
  const Told all = told({.url = "http://host/p", .includesHead = true}, finished(200));
  const Told unknown = told({.url = "http://host/p", .includesHead = true}, finished(299));
  const Told none = told({.url = "http://host/p", .includesHead = true}, failed(CFNetworkErrors::timedOut()));

  EXPECT_EQ(all.output, "HTTP/1.1 200 OK\nContent-Type: text/plain\nX-Many: 1\nx-many: 2\n\nbody\n");
  EXPECT_TRUE(unknown.output.starts_with("HTTP/1.1 299\n")) << unknown.output;
  EXPECT_EQ(none.output, "");
}

TEST(ResponseReportTest, tellsTheNumberOfAStatusWithoutAName) {
  const Told all = told(plain, finished(599, HTTPResponseError::unacceptableStatus(HTTPStatus::unknown)));

  EXPECT_NE(all.problems.find("responded with status 599\n"), all.problems.npos) << all.problems;
}

TEST(ResponseReportTest, writesNothingOfAResponseThatIsNotComplete) {
  const Told all = told(plain, finished(200, CFNetworkErrors::networkConnectionLost()));

  EXPECT_EQ(all.output, "");
  EXPECT_TRUE(all.hasFailure);
}

TEST(ResponseReportTest, reportsAResponseInOneLine) {
  const Told all = told(json, finished(200));

  EXPECT_EQ(all.output,
            R"({"status": 200, "statusName": "success", "url": "http://host/p", )"
            R"("headers": {"Content-Type": ["text/plain"], "X-Many": ["1", "2"]}, "bodyBytes": 5, "file": null, )"
            R"("error": null, "seconds": 0.250000})"
            "\n");
  EXPECT_FALSE(all.hasFailure);
}

TEST(ResponseReportTest, reportsAFailureInOneLineAndNowhereElse) {
  const Told all = told(json, failed(CFNetworkErrors::timedOut()));

  EXPECT_EQ(all.output,
            R"({"status": null, "statusName": "unknown", "url": "http://host/p", "headers": {}, "bodyBytes": 0, )"
            R"("file": null, "error": {"domain": "CFNetwork.CFNetworkErrors", "code": -1001, )"
            R"("type": "CFNetworkErrors", "case": "timedOut", )"
            R"("message": "CFURL/NSURL error: The connection timed out.", "detail": null}, "seconds": 0.500000})"
            "\n");
  EXPECT_EQ(all.problems, "");
  EXPECT_TRUE(all.hasFailure);
}

TEST(ResponseReportTest, writesDownWhateverBytesAServerSends) {
  FinishedExchange exchange = finished(200);
  exchange.response.headers = HTTPHeaderFields{{"X-Odd", "\"a\\b\": \xff, \xc3\xa9\x01"}};

  const Told all = told(json, exchange);

  EXPECT_NE(all.output.find(R"("headers": {"X-Odd": ["\"a\\b\": )"
                            "\uFFFD, \u00e9"
                            R"(\u0001"]}, )"),
            all.output.npos)
      << all.output;
}

TEST(ResponseReportTest, laysOutJSONForAPerson) {
  const std::string body = R"({"id":7,"tags":["a",1.50],"none":{}})";

  for (const char* mediaType : {"application/json", "APPLICATION/JSON ; charset=utf-8", "application/problem+json"}) {
    EXPECT_EQ(told(plain, respondedWith(body, mediaType), Reader::person).output,
              "{\n  \"id\": 7,\n  \"tags\": [\n    \"a\",\n    1.50\n  ],\n  \"none\": {}\n}\n")
        << mediaType;
  }
}

TEST(ResponseReportTest, leavesJSONForAProgramAsItCame) {
  EXPECT_EQ(told(plain, respondedWith("{\"id\":7}", "application/json"), Reader::program).output, "{\"id\":7}");
}

TEST(ResponseReportTest, leavesJSONAsItCameWhenAskedTo) {
  CommandLine line = plain;
  line.raw = true;

  EXPECT_EQ(told(line, respondedWith("{\"id\":7}", "application/json"), Reader::person).output, "{\"id\":7}");
}

TEST(ResponseReportTest, showsAPersonEverythingElseAsItCame) {
  EXPECT_EQ(told(plain, respondedWith("{\"id\":7}", "text/plain"), Reader::person).output, "{\"id\":7}");
  EXPECT_EQ(told(plain, respondedWith("{\"id\":7}", "application/jsonp"), Reader::person).output, "{\"id\":7}");
}

TEST(ResponseReportTest, showsAPersonWhatIsNotJSONAfterAllAsItCame) {
  const Told all = told(plain, respondedWith("{\"id\":7", "application/json"), Reader::person);

  EXPECT_EQ(all.output, "{\"id\":7");
  EXPECT_FALSE(all.hasFailure);
}

TEST(ResponseReportTest, savesJSONAsItCame) {
  const TemporaryDirectory folder;
  CommandLine line = plain;
  line.output = folder / "body";

  told(line, respondedWith("{\"id\":7}", "application/json"), Reader::person);

  EXPECT_EQ(folder.read("body"), "{\"id\":7}");
}

TEST(ResponseReportTest, savesTheBodyAndSaysWhere) {
  const TemporaryDirectory folder;
  CommandLine line = json;
  line.output = folder / "body";

  const Told all = told(line, finished(200));

  EXPECT_EQ(folder.read("body"), "body\n");
  EXPECT_NE(all.output.find("\"file\": \"" + *line.output + "\""), all.output.npos) << all.output;
}

TEST(ResponseReportTest, numbersTheFilesOfSeveralResponses) {
  const TemporaryDirectory folder;
  CommandLine line = plain;
  line.output = folder / "body";
  line.repeat = 2;

  const Told all = told(line, finished(200));

  EXPECT_EQ(folder.read("body.1"), "body\n");
  EXPECT_EQ(all.output, "");
}

TEST(ResponseReportTest, saysWhyAFileCannotBeWritten) {
  const TemporaryDirectory folder;
  CommandLine line = plain;
  line.output = folder / "missing/body";

  const Told all = told(line, finished(200));

  EXPECT_EQ(all.problems, "corvane: cannot write " + *line.output + ": No such file or directory\n");
  EXPECT_TRUE(all.hasFailure);
}

/// A response that brought `content` in a file of the temporary directory, and counts as a success.
FinishedExchange downloaded(int status, const std::optional<std::string>& file) {
  const auto response = std::make_shared<HTTPURLResponse>("http://host/p", status, "HTTP/1.1", HTTPHeaderFields());
  const auto url = file ? std::optional(corvane::URL::file(*file)) : std::nullopt;
  return {.number = 1,
          .url = "http://host/p",
          .response = ToolDownloadResponse(std::nullopt, url, response, std::nullopt),
          .seconds = 0.25};
}

TEST(ResponseReportTest, failsWithoutTheOneFileThatWasAskedFor) {
  const TemporaryDirectory folder;
  const std::string arrived = folder.write("arrived", "not found");
  CommandLine continues{.url = "http://host/p", .output = folder / "body", .continues = true};
  CommandLine checks{.url = "http://host/p", .output = folder / "body", .digest = "sha256:" + std::string(64, 'a')};

  for (const CommandLine& line : {continues, checks}) {
    const Told noContent = told(line, downloaded(204, std::nullopt));
    EXPECT_EQ(noContent.problems, "corvane: no file came with the status 204: nothing is saved\n");
    EXPECT_TRUE(noContent.hasFailure);
    const Told notFound = told(line, downloaded(404, arrived));
    EXPECT_EQ(notFound.problems, "corvane: no file came with the status 404: nothing is saved\n");
    EXPECT_TRUE(notFound.hasFailure);
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "body"));
}

TEST(ResponseReportTest, movesAnAcceptedBodyToARegularFileOnly) {
  const TemporaryDirectory folder;
  std::filesystem::create_directory(folder / "arrivals");
  const std::string arrived = folder.write("arrivals/a", "not found");
  std::filesystem::permissions(arrived, std::filesystem::perms(0600));
  const mode_t mask = umask(0027);

  std::filesystem::create_symlink("elsewhere", folder / "link");
  const CommandLine toLink{.url = "http://host/p", .output = folder / "link"};
  EXPECT_EQ(told(toLink, downloaded(404, arrived)).problems,
            "corvane: cannot write " + (folder / "link").string() + ": it is no regular file\n");
  const Told all = told({.url = "http://host/p", .output = folder / "body"}, downloaded(404, arrived));
  umask(mask);

  EXPECT_EQ(all.problems, "");
  EXPECT_EQ(folder.read("body"), "not found");
  EXPECT_EQ(std::filesystem::status(folder / "body").permissions(), std::filesystem::perms(0640));
  EXPECT_FALSE(std::filesystem::exists(folder / "arrivals"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
}

TEST(ResponseReportTest, savesADownloadAndPrintsWhere) {
  const TemporaryDirectory folder;

  const Told all = toldOfDownload(folder, plain, "content");

  EXPECT_EQ(all.output, (folder / "report.pdf").string() + "\n");
  EXPECT_EQ(folder.read("report.pdf"), "content");
  EXPECT_FALSE(all.hasFailure);
}

TEST(ResponseReportTest, reportsTheFileOfADownloadAndItsSize) {
  const TemporaryDirectory folder;

  const Told all = toldOfDownload(folder, json, "content");

  EXPECT_NE(all.output.find("\"bodyBytes\": 7, \"file\": \"" + (folder / "report.pdf").string() + "\", "),
            all.output.npos)
      << all.output;
}

TEST(ResponseReportTest, saysWhyADownloadCannotBeSaved) {
  const TemporaryDirectory folder;
  CommandLine line = plain;
  line.download = folder.path();
  const ToolOptions options = ToolOptions::from(line);
  const DownloadFolder downloads(folder.path());
  const auto response = std::make_shared<HTTPURLResponse>("http://host/p", 200, "HTTP/1.1", HTTPHeaderFields());
  const ToolResponse lost = ToolDownloadResponse(std::nullopt, corvane::URL::file(downloads.arrivals() + "/gone.pdf"),
                                                 response, std::nullopt);
  ResponseReport report(options, Reader::program, &downloads);

  CaptureStdout();
  CaptureStderr();
  report.add({.number = 1, .url = "http://host/p", .response = lost, .seconds = 0.25});

  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_TRUE(GetCapturedStderr().starts_with("corvane: cannot save the download: "));
  EXPECT_TRUE(report.hasFailure());
}

TEST(ResponseReportTest, headsTheBodiesOfSeveralURLs) {
  const CommandLine line{.url = "http://host/p", .furtherURLs = {"http://host/q"}};
  const ToolOptions options = ToolOptions::from(line);
  ResponseReport report(options, Reader::program);

  CaptureStdout();
  CaptureStderr();
  report.add(respondedWith("no line break", "text/plain"));
  report.add(finished(404, HTTPResponseError::unacceptableStatus(HTTPStatus::notFound)));
  report.add(failed(CFNetworkErrors::timedOut()));
  report.add(failed(CFNetworkErrors::timedOut()));

  EXPECT_EQ(GetCapturedStdout(), "==> http://host/p <==\nno line break\n==> http://host/p <==\nbody\n");
  EXPECT_EQ(GetCapturedStderr(),
            "corvane: http://host/p: the server responded with status 404 Not Found\n"
            "corvane: http://host/p: The connection timed out.\n"
            "Hint: --timeout SECONDS lets it take longer\n"  // once
            "corvane: http://host/p: The connection timed out.\n");
}

Error lostAt(const char* url) {
  return CFNetworkErrors(-1005, platform::NSError(platform::kCFErrorDomainCFNetwork, -1005, "lost",
                                                  {{platform::URLErrorKey::failingURL, url},
                                                   {platform::URLErrorKey::transportMessage, "lost"}}));
}

TEST(ResponseReportTest, namesAnotherServerThatARedirectLedTo) {
  EXPECT_TRUE(told(plain, failed(lostAt("http://host/q"))).problems.starts_with("corvane: lost\n"));
  EXPECT_TRUE(told(plain, failed(lostAt("http://other/q?token=pw")))
                  .problems.starts_with("corvane: lost (after a redirect to http://other/q?token=REDACTED)\n"));
}

TEST(ResponseReportTest, reportsWhichOfSeveralURLsWasAskedFor) {
  CommandLine line = json;
  line.furtherURLs = {"http://host/q"};

  const Told all = told(line, finished(200));

  EXPECT_NE(all.output.find("\"seconds\": 0.250000, \"requestedURL\": \"http://host/p\"}\n"), all.output.npos)
      << all.output;
}

FinishedExchange retried() {
  FinishedExchange exchange = finished(200);
  exchange.attempts = 2;
  exchange.failures = {
      {.number = 1, .status = std::nullopt, .problem = "lost", .error = CFNetworkErrors::networkConnectionLost()}};
  return exchange;
}

TEST(ResponseReportTest, reportsTheAttemptsWhereThereAreRetries) {
  CommandLine line = json;
  line.retry = "interval=1,limit=1";

  const Told all = told(line, retried());

  EXPECT_NE(all.output.find(R"("seconds": 0.250000, "attempts": 2, "failures": [{"status": null, "error": )"
                            R"({"domain": "CFNetwork.CFNetworkErrors", "code": -1005, "type": "CFNetworkErrors", )"
                            R"("case": "networkConnectionLost", "message": )"),
            all.output.npos)
      << all.output;
  EXPECT_FALSE(all.hasFailure);
}

TEST(ResponseReportTest, tellsOfAFailedAttemptInOneLine) {
  const ToolOptions options = ToolOptions::from(plain);
  ResponseReport report(options, Reader::program);

  CaptureStderr();
  report.add(corvane::URL("http://host/p"), retried().failures.at(0));

  EXPECT_EQ(GetCapturedStderr(), "corvane: attempt 1 failed: lost\n");
  EXPECT_FALSE(report.hasFailure());
}

}  // namespace
