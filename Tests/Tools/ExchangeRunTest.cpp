#include "ExchangeRun.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "CommandLine.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace {

using corvane::HTTPResponseError;
using corvane::testing::Answer;
using corvane::testing::Gate;
using corvane::testing::Moment;
using corvane::testing::ReceivedRequest;
using corvane::testing::ServerTest;
using corvane::testing::TemporaryDirectory;

class ExchangeRunTest : public ServerTest {
 protected:
  std::vector<FinishedExchange> exchanges(const CommandLine& line) {
    const ToolOptions options = ToolOptions::from(line);
    std::vector<FinishedExchange> finished;
    ExchangeRun(options, nullptr, {[&](const FinishedExchange& exchange) { finished.push_back(exchange); }}).run();
    return finished;
  }
  ToolResponse response(const CommandLine& line) { return exchanges(line).at(0).response; }

  /// Where downloads arrive meanwhile.
  TemporaryDirectory arrivals;
  std::optional<std::string> before_;

  void SetUp() override {
    if (const char* variable = std::getenv("TMPDIR")) before_ = variable;
    setenv("TMPDIR", arrivals.path().c_str(), 1);
  }
  void TearDown() override { before_ ? setenv("TMPDIR", before_->c_str(), 1) : unsetenv("TMPDIR"); }
};

TEST_F(ExchangeRunTest, uploadsAFile) {
  const TemporaryDirectory folder;
  server.enqueue(Answer(200).body("thanks"));

  const ToolResponse answer =
      response({.method = "PUT", .url = server.url("/u"), .upload = folder.write("a.csv", "a,b")});

  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "PUT");
  EXPECT_EQ(received.body, "a,b");
  EXPECT_EQ(received.header("Content-Type"), "text/csv");
  EXPECT_EQ(answer.data->view(), "thanks");
}

TEST_F(ExchangeRunTest, sendsAForm) {
  const TemporaryDirectory folder;
  server.enqueue(Answer(200));

  response({.url = server.url("/f"),
            .formSections = {"title=Ada", "photo=@" + folder.write("ada.png", "pixels") + ";type=image/x-own"}});

  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_TRUE(received.header("Content-Type")->starts_with("multipart/form-data; boundary=corvane.Boundary."));
  EXPECT_NE(received.body.find("name=\"title\"\r\n\r\nAda"), std::string::npos) << received.body;
  EXPECT_NE(received.body.find("; filename=\"ada.png\"\r\nContent-Type: image/x-own\r\npixels"), std::string::npos)
      << received.body;
}

TEST_F(ExchangeRunTest, downloadsIntoAFile) {
  server.enqueue(Answer(200).header("Content-Disposition", "attachment; filename=\"report.pdf\"").body("content"));

  const ToolResponse answer = response({.url = server.url("/r"), .download = "."});

  ASSERT_TRUE(answer.file);
  EXPECT_EQ(answer.file->lastPathComponent(), "report.pdf");
  EXPECT_EQ(answer.bodyBytes, 7U);
  EXPECT_FALSE(answer.data);
}

TEST_F(ExchangeRunTest, downloadsTheAnswerToABody) {
  server.enqueue(Answer(200).body("content"));

  const ToolResponse answer = response({.url = server.url("/r"), .data = "query", .download = "."});

  EXPECT_TRUE(answer.file);
  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "query");
}

TEST_F(ExchangeRunTest, leavesNoFileOfAnUnacceptableAnswer) {
  server.enqueue(Answer(404).body("nothing here"));

  const ToolResponse answer = response({.url = server.url("/r"), .download = "."});

  EXPECT_FALSE(answer.file);
  EXPECT_EQ(statusCode(answer), 404);
  EXPECT_TRUE(std::filesystem::is_empty(arrivals.path()));
}

TEST_F(ExchangeRunTest, downloadsAnAnswerWhoseStatusWasAskedFor) {
  server.enqueue(Answer(404).body("nothing here"));

  const ToolResponse answer = response({.url = server.url("/r"), .acceptedStatuses = {404}, .download = "."});

  ASSERT_TRUE(answer.file);
  EXPECT_FALSE(answer.result.error());
}

TEST_F(ExchangeRunTest, hasNoFileWhereThereIsNoContent) {
  server.enqueue(Answer(204));

  const ToolResponse answer = response({.url = server.url("/r"), .download = "."});

  EXPECT_FALSE(answer.file);
  EXPECT_FALSE(answer.result.error());
  EXPECT_TRUE(std::filesystem::is_empty(arrivals.path()));
}

TEST_F(ExchangeRunTest, cancelsWhatIsUnderWayWhenItIsStopped) {
  const Gate gate;
  server.handleAll([&](const auto&) { return Answer(200).body("content").hold(Moment::insideBody, gate); });
  const ToolOptions options = ToolOptions::from({.url = server.url("/r"), .download = ".", .repeat = 3, .parallel = 2});
  int reports = 0;
  ExchangeRun run(options, nullptr, {[&](const FinishedExchange&) { ++reports; }});
  corvane::DispatchQueue::global().async([&] {
    EXPECT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 2; }));
    corvane::DispatchQueue::main().async([&run] { run.stop(); });
  });

  run.run();

  EXPECT_EQ(reports, 0);
  EXPECT_EQ(server.headCount(), 2);
  EXPECT_TRUE(std::filesystem::is_empty(arrivals.path()));
}

}  // namespace
