#include "ExchangeRun.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "CommandLine.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace {

using corvane::HTTPResponseError;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;
using corvane::testkit::ServerTest;
using corvane::testkit::TemporaryDirectory;

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
  server.enqueue(MockResponse(200).body("thanks"));

  const ToolResponse toolResponse =
      response({.method = "PUT", .url = server.url("/u"), .upload = folder.write("a.csv", "a,b")});

  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "PUT");
  EXPECT_EQ(received.body, "a,b");
  EXPECT_EQ(received.header("Content-Type"), "text/csv");
  EXPECT_EQ(toolResponse.data->view(), "thanks");
}

TEST_F(ExchangeRunTest, sendsAForm) {
  const TemporaryDirectory folder;
  server.enqueue(MockResponse(200));

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
  server.enqueue(
      MockResponse(200).header("Content-Disposition", "attachment; filename=\"report.pdf\"").body("content"));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .download = "."});

  ASSERT_TRUE(toolResponse.file);
  EXPECT_EQ(toolResponse.file->lastPathComponent(), "report.pdf");
  EXPECT_EQ(toolResponse.bodyBytes, 7U);
  EXPECT_FALSE(toolResponse.data);
}

TEST_F(ExchangeRunTest, downloadsTheResponseToABody) {
  server.enqueue(MockResponse(200).body("content"));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .data = "query", .download = "."});

  EXPECT_TRUE(toolResponse.file);
  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "query");
}

TEST_F(ExchangeRunTest, leavesNoFileOfAnUnacceptableResponse) {
  server.enqueue(MockResponse(404).body("nothing here"));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .download = "."});

  EXPECT_FALSE(toolResponse.file);
  EXPECT_EQ(toolResponse.statusCode(), 404);
  EXPECT_TRUE(std::filesystem::is_empty(arrivals.path()));
}

TEST_F(ExchangeRunTest, downloadsAResponseWhoseStatusWasAskedFor) {
  server.enqueue(MockResponse(404).body("nothing here"));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .acceptedStatuses = {404}, .download = "."});

  ASSERT_TRUE(toolResponse.file);
  EXPECT_FALSE(toolResponse.result.error());
}

TEST_F(ExchangeRunTest, hasNoFileWhereThereIsNoContent) {
  server.enqueue(MockResponse(204));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .download = "."});

  EXPECT_FALSE(toolResponse.file);
  EXPECT_FALSE(toolResponse.result.error());
  EXPECT_TRUE(std::filesystem::is_empty(arrivals.path()));
}

TEST_F(ExchangeRunTest, savesTheOutputWhileItArrives) {
  const TemporaryDirectory folder;
  folder.write("a.bin", "old");
  server.enqueue(MockResponse(200).body("content"));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .output = folder / "a.bin"});

  ASSERT_TRUE(toolResponse.file);
  EXPECT_EQ(toolResponse.file->fileSystemPath(), folder / "a.bin");
  EXPECT_EQ(toolResponse.bodyBytes, 7U);
  EXPECT_EQ(folder.read("a.bin"), "content");
}

TEST_F(ExchangeRunTest, keepsInMemoryWhatGoesToADevice) {
  server.enqueue(MockResponse(200).body("content"));

  const ToolResponse toolResponse = response({.url = server.url("/r"), .output = "/dev/null"});

  EXPECT_FALSE(toolResponse.file);
  EXPECT_EQ(toolResponse.data->view(), "content");
}

TEST_F(ExchangeRunTest, goesOnWithAnOutputAndHoldsItToItsDigest) {
  const TemporaryDirectory folder;
  const std::string content = corvane::testkit::generatedBytes(300'000);
  const std::string digest = corvane::SHA256Digest::of(std::as_bytes(std::span(content))).hex();
  server.enqueue(
      MockResponse(200).header("ETag", "\"one\"").generatedBody(300'000).dropConnection(Moment::insideBody, 200'000));
  server.enqueue(MockResponse(206)
                     .header("ETag", "\"one\"")
                     .header("Content-Range", "bytes 200000-299999/300000")
                     .body(content.substr(200'000)));
  const CommandLine line{
      .url = server.url("/r"), .output = folder / "a.bin", .continues = true, .digest = "sha256:" + digest};

  EXPECT_TRUE(response(line).result.error());
  EXPECT_FALSE(std::filesystem::exists(folder / "a.bin"));
  const ToolResponse toolResponse = response(line);

  EXPECT_FALSE(toolResponse.result.error());
  EXPECT_TRUE(folder.read("a.bin") == content);
  EXPECT_FALSE(server.takeRequest().header("Range"));
  EXPECT_EQ(server.takeRequest().header("Range"), "bytes=200000-");
}

TEST_F(ExchangeRunTest, leavesNoOutputWithAnotherDigest) {
  const TemporaryDirectory folder;
  server.enqueue(MockResponse(200).body("content"));

  const ToolResponse toolResponse =
      response({.url = server.url("/r"), .output = folder / "a", .digest = "sha256:" + std::string(64, '0')});

  ASSERT_TRUE(toolResponse.result.error());
  EXPECT_TRUE(toolResponse.result.error()->is<corvane::DigestMismatch>());
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ExchangeRunTest, cancelsWhatIsUnderWayWhenItIsStopped) {
  const Latch latch;
  server.handleAll([&](const auto&) { return MockResponse(200).body("content").hold(Moment::insideBody, latch); });
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
