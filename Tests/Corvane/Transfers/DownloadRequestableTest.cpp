#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "TransferFixture.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::Test;

class DownloadTest : public TransferTest {};

struct GetFile : DownloadRequestable<GetFile>, HTTPRequestCancelable<GetFile> {
  URL url;
  bool shouldSend = true;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct User {
  std::string login;
  int id = 0;
};

TEST_F(DownloadTest, putsTheBodyIntoAFileOfTheSuggestedName) {
  server.enqueue(
      MockResponse(200).header("Content-Disposition", "attachment; filename=\"report.pdf\"").body("content"));

  const auto response = responseTo(DownloadGetRequest(server.url("/r")));

  ASSERT_TRUE(response.result.url()) << response.result.error()->message();
  EXPECT_EQ(contentOf(*response.result.url()), "content");
  EXPECT_EQ(response.result.url()->lastPathComponent(), "report.pdf");
  EXPECT_EQ(response.data, std::nullopt);
  EXPECT_EQ(server.takeRequest().method, "GET");
}

TEST_F(DownloadTest, givesEachFileADirectoryThatOnlyThisUserMayEnter) {
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });

  const auto first = responseTo(DownloadGetRequest(server.url("/same")));
  const auto second = responseTo(DownloadGetRequest(server.url("/same")));

  const std::filesystem::path one(first.result.url()->fileSystemPath());
  const std::filesystem::path other(second.result.url()->fileSystemPath());
  EXPECT_EQ(one.filename(), "same");
  EXPECT_NE(one.parent_path(), other.parent_path());
  EXPECT_TRUE(one.parent_path().filename().string().starts_with("Corvane-"));
  EXPECT_EQ(std::filesystem::status(one.parent_path()).permissions(), std::filesystem::perms::owner_all);
  EXPECT_EQ(temporary.names().size(), 2u);
}

TEST_F(DownloadTest, neverLeavesItsDirectoryWhateverTheServerSuggests) {
  const std::vector<std::string> names = {"../../../etc/passwd",
                                          "/etc/passwd",
                                          "..",
                                          "C:\\boot.ini",
                                          "",
                                          ".bashrc",
                                          "a/b\\c",
                                          "con.txt",
                                          "x\ty",
                                          "~",
                                          std::string(4000, 'n') + ".txt",
                                          "%2e%2e%2fx"};
  for (const std::string& name : names) {
    server.enqueue(MockResponse(200).header("Content-Disposition", "attachment; filename=\"" + name + "\"").body("x"));

    const auto response = responseTo(DownloadGetRequest(server.url("/fallback")));

    ASSERT_TRUE(response.result.url()) << name;
    const std::filesystem::path file(response.result.url()->fileSystemPath());
    EXPECT_TRUE(std::filesystem::is_regular_file(file)) << file;
    EXPECT_EQ(file.parent_path().parent_path(), temporary.path()) << name;
    EXPECT_TRUE(file.parent_path().filename().string().starts_with("Corvane-")) << name;
  }
}

TEST_F(DownloadTest, readsTheFileForABodyOfBytesAndRemovesIt) {
  server.enqueue(MockResponse(200).body("bytes"));
  server.enqueue(MockResponse(200).text("text"));
  server.enqueue(MockResponse(200).json(R"({"login": "ada", "id": 7})"));

  const auto bytes = responseTo(DownloadGetRequest<Data>(server.url("/a")));
  const auto text = responseTo(DownloadGetRequest<std::string>(server.url("/b")));
  const auto user = responseTo(DownloadGetRequest<User>(server.url("/c")));

  ASSERT_TRUE(bytes.result.body() && text.result.body() && user.result.body());
  EXPECT_EQ(bytes.result.body()->text(), "bytes");
  EXPECT_EQ(*text.result.body(), "text");
  EXPECT_EQ(user.result.body()->login, "ada");
  EXPECT_TRUE(temporary.names().empty());
}

TEST_F(DownloadTest, readsALongFileAside) {
  server.enqueue(MockResponse(200).generatedBody(1 << 20));

  const auto response = responseTo(DownloadGetRequest<Data>(server.url("/")));

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(response.result.body()->count(), std::size_t{1} << 20);
  EXPECT_TRUE(temporary.names().empty());
}

/// Notes where its hooks run, and whether two of them run at a time.
struct WatchedDownload : DownloadRequestable<WatchedDownload, Data> {
  struct Watch {
    std::atomic<int> inside = 0, calls = 0, strays = 0;
  };

  URL url;
  std::shared_ptr<Watch> watch;
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const Response&) const {
    const auto current = DispatchQueue::current();
    const bool isOnItsQueue = current && current->label().ends_with(".Corvane.HTTPService.isolationQueue");
    if (!isOnItsQueue || ++watch->inside != 1) ++watch->strays;
    std::this_thread::yield();
    --watch->inside;
    ++watch->calls;
  }
};

TEST_F(DownloadTest, callsTheHooksOfLongFilesThatAreReadOneAtATimeOnTheQueueOfTheSession) {
  server.handleAll([](const auto&) { return MockResponse(200).generatedBody(200'000); });
  const auto watch = std::make_shared<WatchedDownload::Watch>();
  const WatchedDownload request{.url = server.url("/"), .watch = watch};

  const auto responses = send(std::vector(20, request), true).get();

  ASSERT_EQ(responses.size(), 20U);
  for (const auto& response : responses) EXPECT_TRUE(response.result.body());
  EXPECT_EQ(watch->calls, 20);
  EXPECT_EQ(watch->strays, 0);
}

TEST_F(DownloadTest, makesAPathOfTheFile) {
  server.enqueue(MockResponse(200).body("here"));

  const auto response = DownloadGetRequest<std::filesystem::path>(server.url("/x.txt")).send().get();

  EXPECT_EQ(response.fileURL().filename(), "x.txt");
  EXPECT_EQ(std::filesystem::file_size(response.fileURL()), 4u);
}

TEST_F(DownloadTest, failsForAStatusThatIsNoneOfASuccessAndLeavesNoFile) {
  server.enqueue(MockResponse(404).body("there is no such thing"));

  const auto response = responseTo(DownloadGetRequest(server.url("/")));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(*response.result.error()->as<HTTPResponseError>(),
            HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_EQ(response.status, HTTPStatus::notFound);
  EXPECT_TRUE(temporary.names().empty());
}

TEST_F(DownloadTest, succeedsWithoutABodyWhenThereIsNoContent) {
  server.enqueue(MockResponse(204));

  const auto response = responseTo(DownloadGetRequest(server.url("/")));

  EXPECT_TRUE(response.result.isSuccess());
  EXPECT_EQ(response.result.body(), nullptr);
  EXPECT_TRUE(temporary.names().empty());
}

TEST_F(DownloadTest, leavesNoFileWhenTheContentMakesNoBody) {
  server.enqueue(MockResponse(200).json("{"));

  const auto response = responseTo(DownloadGetRequest<User>(server.url("/")));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.data->text(), "{");
  EXPECT_TRUE(temporary.names().empty());
}

TEST_F(DownloadTest, leavesNoFileWhenItIsCutShort) {
  server.enqueue(MockResponse(200).body("hello").dropConnection(Moment::insideBody, 2));

  const auto response = responseTo(DownloadGetRequest(server.url("/")));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::networkConnectionLost);
  EXPECT_TRUE(temporary.names().empty());
}

TEST_F(DownloadTest, leavesNoFileWhenItIsCancelled) {
  const Latch latch;
  server.enqueue(MockResponse(200).generatedBody(1 << 20).hold(Moment::insideBody, latch, 1000));
  const GetFile request{.url = server.url("/")};

  const auto response = await<GetFile::Response>(
      [&](auto done) { request.send(queue, [&](const HTTPProgress&) { request.cancel(); }, done); });

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(*response.result.error()->as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
  EXPECT_TRUE(temporary.names().empty());
  latch.open();
}

TEST_F(DownloadTest, failsWhereNoFileCanBeMade) {
  server.handleAll([](const auto&) { return MockResponse(200).body("x"); });
  OwnTemporaryDirectory::pointTo((temporary.path() / "missing").string());

  const auto response = responseTo(DownloadGetRequest(server.url("/")));

  OwnTemporaryDirectory::pointTo(temporary.path().string());
  ASSERT_TRUE(response.result.error());
  EXPECT_TRUE(response.result.error()->as<CFNetworkErrors>());
  EXPECT_EQ(response.result.error()->code(), platform::URLErrorCode::cannotCreateFile);
}

/// A new folder with a path so long (path_resolution(7): 4095 bytes at most) that the name of a file that arrives still
/// fits after it, but not that of a folder for it.
std::string almostTooLong(std::filesystem::path path) {
  constexpr std::size_t length = 4060;
  while (path.native().size() + 1 < length) {
    path /= std::string(std::min<std::size_t>(200, length - path.native().size() - 1), 'd');
  }
  std::filesystem::create_directories(path);
  return path.string();
}

TEST_F(DownloadTest, keepsTheFileWhereItIsWhenItCannotBeMoved) {
  server.enqueue(MockResponse(200).body("content"));
  const corvane::testkit::LogCapture log;
  OwnTemporaryDirectory::pointTo(almostTooLong(temporary.path()));

  const auto response = DownloadGetRequest(server.url("/x.txt")).send().get();

  OwnTemporaryDirectory::pointTo(temporary.path().string());
  EXPECT_EQ(contentOf(response.fileURL()), "content");
  EXPECT_TRUE(response.fileURL().lastPathComponent().starts_with("CorvaneDownload_"));
  ASSERT_EQ(log.messages().size(), 1u);
  EXPECT_TRUE(log.messages()[0].starts_with("Failure to create tempDirectory going back to default tempFile: "))
      << log.messages()[0];
}

TEST_F(DownloadTest, sendsNothingWhenItShouldNotBeSent) {
  std::atomic<bool> isCalled = false;
  server.enqueue(MockResponse(200).body("x"));

  GetFile{.url = server.url("/"), .shouldSend = false}.send(queue, nullptr, [&](auto) { isCalled = true; });
  const auto response = responseTo(GetFile{.url = server.url("/")});

  EXPECT_TRUE(response.result.isSuccess());
  EXPECT_FALSE(isCalled);
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(DownloadTest, reportsWhatTheRequestItselfRefuses) {
  struct Refused : DownloadRequestable<Refused> {
    URL url = "http://127.0.0.1:1/";
    HTTPHeaders sharedHeaders() const { return {}; }
    void validate() const { throw HTTPResponseError::noContent(); }
  };

  const auto refused = responseTo(Refused());
  const auto malformed = responseTo(DownloadGetRequest("/"));

  EXPECT_EQ(*refused.result.error()->as<HTTPResponseError>(), HTTPResponseError::noContent());
  EXPECT_TRUE(malformed.result.error()->as<HTTPRequestError>());
}

TEST_F(DownloadTest, tellsItsProgressInOrderAndEndsWithTheWhole) {
  const Latch latch;
  constexpr std::int64_t size = 1 << 20;
  server.enqueue(MockResponse(200).generatedBody(size).hold(Moment::insideBody, latch, 1000));
  std::vector<std::int64_t> counts;
  std::vector<double> fractions;
  bool isOver = false;

  const auto response = await<DownloadResponse<URL>>([&](auto done) {
    DownloadGetRequest(server.url("/"))
        .send(
            queue,
            [&](const HTTPProgress& progress) {
              EXPECT_FALSE(isOver);
              EXPECT_EQ(progress.totalBytes(), size);
              counts.push_back(progress.completedBytes());
              fractions.push_back(progress.percentCompleted().value());
              latch.open();
            },
            [&, done](DownloadResponse<URL> arrived) mutable {
              isOver = true;
              done(std::move(arrived));
            });
  });

  ASSERT_TRUE(response.result.isSuccess());
  ASSERT_GE(counts.size(), 2u);
  EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
  EXPECT_EQ(counts.back(), size);
  EXPECT_EQ(fractions.back(), 1.0);
}

TEST_F(DownloadTest, doesNotKnowATotalThatTheServerDidNotAnnounce) {
  const Latch latch;
  server.enqueue(MockResponse(200).chunked({"first", "second"}).hold(Moment::insideBody, latch, 6));
  std::vector<std::int64_t> totals;

  const auto response = await<DownloadResponse<URL>>([&](auto done) {
    DownloadGetRequest(server.url("/"))
        .send(
            queue,
            [&](const HTTPProgress& progress) {
              totals.push_back(progress.totalBytes());
              latch.open();
            },
            done);
  });

  ASSERT_TRUE(response.result.isSuccess());
  ASSERT_GE(totals.size(), 2u);
  EXPECT_EQ(totals.front(), -1);
  EXPECT_EQ(totals.back(), 11);
}

TEST_F(DownloadTest, callsTheHandlersOfAFutureInTheirOrder) {
  const Latch latch;
  // No byte comes before both are there.
  server.enqueue(MockResponse(200).generatedBody(100'000).hold(Moment::beforeStatusLine, latch));
  std::vector<int> order;
  const DispatchQueue handlers("handlers");

  const auto future = DownloadGetRequest(server.url("/"))
                          .send()
                          .during(handlers, [&](const HTTPProgress&) { order.push_back(1); })
                          .during(handlers, [&](const HTTPProgress&) { order.push_back(2); });
  latch.open();
  const auto response = future.get();
  handlers.sync([] {});

  EXPECT_EQ(contentOf(response.fileURL()).size(), 100'000u);
  ASSERT_GE(order.size(), 2u);
  for (std::size_t i = 0; i < order.size(); ++i) EXPECT_EQ(order[i], i % 2 == 0 ? 1 : 2);
}

TEST_F(DownloadTest, awaitsADownloadInACoroutine) {
  server.enqueue(MockResponse(200).body("awaited"));
  const auto download = [&]() -> velisand::Task<std::string> {
    const auto response = co_await DownloadGetRequest(server.url("/")).send();
    co_return contentOf(response.fileURL());
  };

  EXPECT_EQ(download().get(), "awaited");
}

TEST_F(DownloadTest, honoursASendOfTheTypesOwn) {
  struct Own : DownloadRequestable<Own> {
    using DownloadRequestable::send;
    URL url = "http://127.0.0.1:1/";
    HTTPHeaders sharedHeaders() const { return {}; }
    void send(std::optional<DispatchQueue> completionQueue, HTTPProgressHandler, Completion completion) const {
      report(HTTPResponseError::noContent(), std::move(completionQueue), std::move(completion));
    }
  };

  const auto response = responseTo(Own());
  const auto result = Own().send().result();

  EXPECT_EQ(*response.result.error()->as<HTTPResponseError>(), HTTPResponseError::noContent());
  EXPECT_EQ(*result.error()->as<HTTPResponseError>(), HTTPResponseError::noContent());
}

TEST_F(DownloadTest, sendsABodyWithTheGeneralRequest) {
  server.enqueue(MockResponse(200).body("report"));

  const auto response = responseTo(DownloadRequest(server.url("/"), HTTPMethod::post, "query"));

  ASSERT_TRUE(response.result.url());
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "query");
}

}  // namespace
}  // namespace corvane
