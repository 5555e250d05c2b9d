#include <gmock/gmock.h>
#include <sys/stat.h>

#include "CorvaneTesting/Compression.hpp"
#include "TestSupport/NetworkTime.hpp"
#include "TransferTest.hpp"

namespace platform {
namespace {

using corvane::testkit::corrupted;
using corvane::testkit::cutOff;
using corvane::testkit::generatedBytes;
using corvane::testkit::gzipped;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class DownloadTaskTest : public TransferTest {
 protected:
  /// A download whose server stands still after the first half of the body, which has arrived.
  std::unique_ptr<Download> startedDownload() {
    server.enqueue(MockResponse(200).generatedBody(1 << 20).hold(Moment::insideBody, latch));
    auto download = std::make_unique<Download>(session, URLRequest(URL(server.url("/"))));
    const ProgressLog log(download->task());
    download->resume();
    EXPECT_TRUE(log.waitFor(1 << 19));
    return download;
  }

  Latch latch;
};

TEST_F(DownloadTaskTest, writesTheBodyToAFile) {
  const Downloaded downloaded = downloadOf(MockResponse(200).contentType("text/plain").body("hello"));

  EXPECT_FALSE(downloaded.error) << downloaded.message();
  EXPECT_EQ(contents(downloaded.file), "hello");
  EXPECT_EQ(downloaded.http().statusCode(), 200);
  EXPECT_EQ(downloaded.response->mimeType(), "text/plain");
}

TEST_F(DownloadTaskTest, writesALargeBodyCompletely) {
  const Downloaded downloaded = downloadOf(MockResponse(200).generatedBody(32 << 20));

  EXPECT_TRUE(contents(downloaded.file) == generatedBytes(32 << 20));
}

TEST_F(DownloadTaskTest, makesTheFileInTheTemporaryDirectoryForThisUserAlone) {
  const Downloaded downloaded = downloadOf(MockResponse(200).body("x"));

  ASSERT_TRUE(downloaded.file);
  EXPECT_THAT(downloaded.file->path(), StartsWith(temporary.path().string() + "/"));
  struct stat facts{};
  ASSERT_EQ(::stat(downloaded.file->path().c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0600u);
}

TEST_F(DownloadTaskTest, removesTheFileWithItsValue) {
  {
    const Downloaded downloaded = downloadOf(MockResponse(200).body("x"));
    EXPECT_THAT(leftovers(), ElementsAre(downloaded.file->path()));
  }

  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, leavesAFileThatIsKept) {
  std::string path;
  {
    Downloaded downloaded = downloadOf(MockResponse(200).body("kept"));
    path = downloaded.file->path();
    downloaded.file->keep();
  }

  EXPECT_EQ(FileManager::contents(path).text(), "kept");
}

TEST_F(DownloadTaskTest, leavesAFileThatIsMovedWhereItWentTo) {
  const std::string target = files / "moved";
  {
    Downloaded downloaded = downloadOf(MockResponse(200).body("moved"));
    downloaded.file->moveTo(target);
  }

  EXPECT_EQ(FileManager::contents(target).text(), "moved");
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, aCompletionThatDropsTheFileLeavesNone) {
  server.enqueue(MockResponse(200).body("x"));
  auto done = std::make_shared<std::promise<bool>>();

  session
      ->downloadTask(URLRequest(URL(server.url("/"))),
                     [=](auto file, auto, auto) { done->set_value(file && FileManager::exists(file->path())); })
      ->resume();

  EXPECT_TRUE(done->get_future().get());
  server.enqueue(MockResponse(200));
  load("/");  // its completion comes on the same queue, after the other returned
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, decodesACompressedBodyIntoTheFileAndCountsWhatCameOverTheNetwork) {
  const std::string text(3 << 20, 'z');
  const auto wireBytes = static_cast<std::int64_t>(gzipped(text).size());
  server.enqueue(MockResponse(200).gzipBody(text));
  Download download(session, URLRequest(URL(server.url("/"))));
  const ProgressLog log(download.task());

  const Downloaded downloaded = download.resume().wait();

  EXPECT_TRUE(contents(downloaded.file) == text);
  EXPECT_EQ(log.last().completed, wireBytes);
  EXPECT_EQ(log.last().total, wireBytes);
}

TEST_F(DownloadTaskTest, anEmptyBodyMakesAnEmptyFile) {
  for (const MockResponse& empty : {MockResponse(200), MockResponse(200).body("").chunked(),
                                    MockResponse(200).untilClose(), MockResponse(204), MockResponse(304)}) {
    const Downloaded downloaded = downloadOf(empty);
    EXPECT_FALSE(downloaded.error) << downloaded.message();
    EXPECT_EQ(contents(downloaded.file), "");
  }
}

TEST_F(DownloadTaskTest, theResponseToHEADMakesAnEmptyFile) {
  server.enqueue(MockResponse(200).body("five!"));

  const Downloaded downloaded = download(request(server.url("/"), "HEAD"));

  EXPECT_FALSE(downloaded.error) << downloaded.message();
  EXPECT_EQ(contents(downloaded.file), "");
  EXPECT_EQ(downloaded.response->expectedContentLength(), 5);
}

TEST_F(DownloadTaskTest, aBodyOfAnyStatusIsAFile) {
  for (const int status : {404, 413, 500}) {
    const Downloaded downloaded = downloadOf(MockResponse(status).body("what went wrong"));
    EXPECT_FALSE(downloaded.error) << downloaded.message();
    EXPECT_EQ(contents(downloaded.file), "what went wrong");
    EXPECT_EQ(downloaded.http().statusCode(), status);
  }
}

TEST_F(DownloadTaskTest, putsChunksTogether) {
  const Downloaded downloaded = downloadOf(MockResponse(200).generatedBody(1 << 20).chunkedBy(7001));

  EXPECT_TRUE(contents(downloaded.file) == generatedBytes(1 << 20));
}

TEST_F(DownloadTaskTest, sendsTheBodyOfItsRequest) {
  server.enqueue(MockResponse(200).body("made of it"));

  const Downloaded downloaded = download(request(server.url("/"), "POST", Data("a query")));

  EXPECT_EQ(contents(downloaded.file), "made of it");
  EXPECT_EQ(server.takeRequest().body, "a query");
}

TEST_F(DownloadTaskTest, isNotBoundByTheLimitForBodiesInMemory) {
  session = makeSession({.maximumBodyBytes = 10});

  EXPECT_EQ(contents(downloadOf(MockResponse(200).body("more than ten bytes")).file), "more than ten bytes");
  EXPECT_EQ(contents(downloadOf(MockResponse(200).gzipBody("more than ten bytes")).file), "more than ten bytes");
}

TEST_F(DownloadTaskTest, isBoundByTheLimitOfItsRequest) {
  const auto downloadAtMost = [&](std::int64_t limit, MockResponse response) {
    server.enqueue(std::move(response));
    URLRequest limited(server.url("/"));
    limited.maximumBodyBytes = limit;
    return download(std::move(limited));
  };

  EXPECT_EQ(contents(downloadAtMost(9, MockResponse(200).body("nine char")).file), "nine char");
  EXPECT_EQ(downloadAtMost(8, MockResponse(200).body("nine char")).code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(downloadAtMost(8, MockResponse(200).gzipBody("nine char")).code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(leftovers().size(), 0U);
}

TEST_F(DownloadTaskTest, theBodyOfARedirectIsNoFile) {
  server.enqueue(MockResponse(302).header("Location", "/next").body(std::string(20'000, 'r')));
  server.enqueue(MockResponse(200).body("here"));

  const Downloaded downloaded = download("/start");

  EXPECT_EQ(contents(downloaded.file), "here");
  EXPECT_THAT(leftovers(), ElementsAre(downloaded.file->path()));
}

TEST_F(DownloadTaskTest, aRedirectThatCannotBeFollowedLeavesNoFile) {
  const Downloaded downloaded = downloadOf(MockResponse(302).header("Location", "ftp://127.0.0.1/").body("moved"));

  EXPECT_EQ(downloaded.code(), URLErrorCode::unsupportedURL);
  EXPECT_FALSE(downloaded.file);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, aBodyThatIsCutShortIsAnErrorAndLeavesNoFile) {
  for (const MockResponse& cut :
       {MockResponse(200).generatedBody(1 << 20).dropConnection(Moment::insideBody),
        MockResponse(200).generatedBody(1 << 20).resetConnection(Moment::insideBody),
        MockResponse(200).generatedBody(1 << 20).chunkedBy(5000).dropConnection(Moment::insideBody),
        MockResponse(200).body("x").chunked().withoutLastChunk().dropConnection(Moment::afterResponse)}) {
    const Downloaded downloaded = downloadOf(cut);
    EXPECT_EQ(downloaded.code(), URLErrorCode::networkConnectionLost) << downloaded.message();
    EXPECT_TRUE(downloaded.response);
    EXPECT_FALSE(downloaded.file);
    EXPECT_THAT(leftovers(), IsEmpty());
  }
}

TEST_F(DownloadTaskTest, aDamagedCompressedBodyIsAnErrorAndLeavesNoFile) {
  const std::string whole = gzipped(generatedBytes(100'000));
  for (const std::string& damaged : {corrupted(whole), cutOff(whole), std::string("no gzip at all")}) {
    const Downloaded downloaded = downloadOf(MockResponse(200).header("Content-Encoding", "gzip").body(damaged));
    EXPECT_EQ(downloaded.code(), URLErrorCode::cannotDecodeContentData) << downloaded.message();
    EXPECT_FALSE(downloaded.file);
    EXPECT_THAT(leftovers(), IsEmpty());
  }
}

TEST_F(DownloadTaskTest, anUnknownContentCodingIsAnErrorAndLeavesNoFile) {
  const Downloaded downloaded = downloadOf(MockResponse(200).header("Content-Encoding", "br").body("x"));

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotDecodeRawData);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, aBodyThatStallsEndsWithTheTimeOutAndLeavesNoFile) {
  corvane::testkit::NetworkTime time;
  server.enqueue(MockResponse(200).body("0123456789").stall(Moment::insideBody, 5));
  Download download(session, URLRequest(URL(server.url("/"))));
  download.resume();
  ASSERT_TRUE(server.waitForStall());

  time.pass(std::chrono::seconds(60));
  const Downloaded downloaded = download.wait();

  EXPECT_EQ(downloaded.code(), URLErrorCode::timedOut);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, cancelledBeforeItBeganLeavesNoFile) {
  Download download(session, URLRequest(URL(server.url("/"))));

  download.cancel();
  const Downloaded downloaded = download.wait();

  EXPECT_EQ(downloaded.code(), URLErrorCode::cancelled);
  EXPECT_FALSE(downloaded.file);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(DownloadTaskTest, cancelledInsideTheBodyLeavesNoFile) {
  const auto download = startedDownload();
  EXPECT_THAT(leftovers(), SizeIs(1));

  download->cancel();
  const Downloaded downloaded = download->wait();

  EXPECT_EQ(downloaded.code(), URLErrorCode::cancelled);
  EXPECT_FALSE(downloaded.file);
  EXPECT_THAT(leftovers(), IsEmpty());
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(DownloadTaskTest, cancelledAfterItsCompletionKeepsTheFile) {
  server.enqueue(MockResponse(200).body("done"));
  Download download(session, URLRequest(URL(server.url("/"))));
  const Downloaded downloaded = download.resume().wait();

  download.cancel();

  EXPECT_EQ(contents(downloaded.file), "done");
  EXPECT_EQ(download.completions(), 1);
}

TEST_F(DownloadTaskTest, cancelledAtAnyMomentCompletesOnceAndLeavesNoFile) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).generatedBody(100'000); });
  std::vector<std::unique_ptr<Download>> downloads;
  for (int i = 0; i < 200; ++i) {
    auto& download = *downloads.emplace_back(std::make_unique<Download>(session, URLRequest(URL(server.url("/")))));
    download.resume();
    // Busy work of growing length moves the moment of cancelling through the exchange.
    for (std::atomic<int> spin = 0; spin < i * 300; ++spin) {
    }
    download.cancel();
  }

  for (const auto& download : downloads) {
    const Downloaded downloaded = download->wait();
    EXPECT_EQ(downloaded.file.has_value(), !downloaded.error);
    if (downloaded.error) {
      EXPECT_EQ(downloaded.code(), URLErrorCode::cancelled) << downloaded.message();
    } else {
      EXPECT_EQ(contents(downloaded.file).size(), 100'000u);
    }
  }
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, anInvalidatedSessionCancelsItAndLeavesNoFile) {
  const auto download = startedDownload();

  session->invalidateAndCancel();

  EXPECT_EQ(download->wait().code(), URLErrorCode::cancelled);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadTaskTest, severalAtOnceHaveAFileEach) {
  server.handleAll([](const ReceivedRequest& received) {
    return MockResponse(200).body(received.target + generatedBytes(300'000));
  });
  std::vector<std::unique_ptr<Download>> downloads;
  for (int i = 0; i < 8; ++i) {
    const URLRequest request{URL(server.url("/" + std::to_string(i)))};
    downloads.push_back(std::make_unique<Download>(session, request));
    downloads.back()->resume();
  }

  std::vector<Downloaded> downloaded;
  for (const auto& download : downloads) downloaded.push_back(download->wait());
  for (int i = 0; i < 8; ++i) {
    EXPECT_TRUE(contents(downloaded[static_cast<std::size_t>(i)].file) ==
                "/" + std::to_string(i) + generatedBytes(300'000));
  }
  EXPECT_THAT(leftovers(), SizeIs(8));
}

TEST_F(DownloadTaskTest, aSecondOneUsesTheConnectionOfTheFirst) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).generatedBody(100'000); });
  download("/");
  load("/");
  download("/");

  EXPECT_EQ(server.connectionCount(), 1);
}

class DownloadOfAFileTest : public TransferTest {};

TEST_F(DownloadOfAFileTest, isACopy) {
  const std::string bytes = generatedBytes(1'000'000);
  const URL source = file("source", bytes);
  Download download(session, URLRequest(source));
  const ProgressLog log(download.task());

  const Downloaded downloaded = download.resume().wait();

  EXPECT_FALSE(downloaded.error) << downloaded.message();
  EXPECT_TRUE(contents(downloaded.file) == bytes);
  EXPECT_TRUE(files.read("source") == bytes);
  EXPECT_EQ(downloaded.response->expectedContentLength(), 1'000'000);
  EXPECT_EQ(downloaded.response->suggestedFilename(), "source");
  ASSERT_THAT(log.calls(), SizeIs(1));
  EXPECT_EQ(log.last().fraction, 1);
}

TEST_F(DownloadOfAFileTest, ofNoBytesIsEmpty) { EXPECT_EQ(contents(download(URLRequest(file("empty", ""))).file), ""); }

TEST_F(DownloadOfAFileTest, thatIsMissingIsAnErrorThatNamesIt) {
  const Downloaded downloaded = download(URLRequest(URL::file((files / "missing").string())));

  EXPECT_EQ(downloaded.code(), URLErrorCode::fileDoesNotExist);
  EXPECT_THAT(downloaded.message(), HasSubstr((files / "missing").string()));
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadOfAFileTest, whoseNameHoldsANULIsNotTheFileWithTheNameBeforeIt) {
  const URL source = file("source", "x");

  const Downloaded downloaded = download(URLRequest(URL(source.absoluteString() + "%00.txt")));

  EXPECT_EQ(downloaded.code(), URLErrorCode::fileDoesNotExist) << contents(downloaded.file);
}

TEST_F(DownloadOfAFileTest, thatIsADirectoryIsAnError) {
  EXPECT_EQ(download(URLRequest(URL::file(files.path().string()))).code(), URLErrorCode::fileIsDirectory);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadOfAFileTest, cancelledMeanwhileGivesNoFile) {
  const URL source = file("source", generatedBytes(1 << 20));
  for (int i = 0; i < 50; ++i) {
    Download download(session, URLRequest(source));
    download.resume();
    for (std::atomic<int> spin = 0; spin < i * 1000; ++spin) {
    }
    download.cancel();
    const Downloaded downloaded = download.wait();
    EXPECT_EQ(downloaded.file.has_value(), !downloaded.error);
  }
}

}  // namespace
}  // namespace platform
