#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "Platform/Metrics/TaskMetrics.hpp"
#include "ResumedDownloads.hpp"

/// Downloads that go on from what an earlier one left.
namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::ReceivedRequest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr const char* noon = "Sun, 06 Nov 1994 12:00:00 GMT";
constexpr const char* anHourLater = "Sun, 06 Nov 1994 13:00:00 GMT";

TEST_F(ResumedDownloadTest, asksForTheRestOfWhatIsThere) {
  saveHalf();
  server.enqueue(rest(half));

  expectWhole(save());

  const ReceivedRequest request = server.takeRequest();
  EXPECT_EQ(request.header("Range"), "bytes=" + std::to_string(half) + "-");
  EXPECT_EQ(request.header("If-Range"), "\"one\"");
  EXPECT_EQ(request.headerValues("Accept-Encoding"), std::vector<std::string>{"identity"});
}

TEST_F(ResumedDownloadTest, asksForTheWholeTheFirstTime) {
  server.enqueue(tagged().generatedBody(whole));

  expectWhole(save());

  const ReceivedRequest request = server.takeRequest();
  EXPECT_FALSE(request.hasHeader("Range"));
  EXPECT_FALSE(request.hasHeader("If-Range"));
  EXPECT_EQ(request.header("Accept-Encoding"), "identity");
}

TEST_F(ResumedDownloadTest, keepsOnlyTheDigestOfTheURL) {
  server.enqueue(cut(tagged()));
  const DownloadOptions resumed = options();
  (void)Download(session, URLRequest(URL("http://user:secret@" + server.authority() + "/a")), resumed).resume().wait();

  EXPECT_THAT(names(), UnorderedElementsAre("a.bin.corvane-part", "a.bin.corvane-resume"));
  EXPECT_THAT(files.read("a.bin.corvane-resume"), HasSubstr("validator: \"one\"\n"));
  EXPECT_THAT(files.read("a.bin.corvane-resume"), HasSubstr("length: 00000000000000524288\n"));
  EXPECT_THAT(files.read("a.bin.corvane-resume"), Not(HasSubstr("secret")));
  struct stat facts{};
  ASSERT_EQ(::stat(record().c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0600u);
}

TEST_F(ResumedDownloadTest, goesOnSeveralTimes) {
  saveHalf();
  server.enqueue(rest(half).dropConnection(Moment::insideBody, 1000));
  EXPECT_EQ(save().code(), URLErrorCode::networkConnectionLost);
  server.enqueue(rest(half + 1000));

  expectWhole(save());
}

TEST_F(ResumedDownloadTest, goesOnAfterACancellation) {
  server.enqueue(tagged().generatedBody(whole).stall(Moment::insideBody, half));
  Download download(session, URLRequest(URL(server.url("/a"))), options());
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(half));
  download.cancel();
  EXPECT_EQ(download.wait().code(), URLErrorCode::cancelled);
  server.enqueue(rest(half));

  expectWhole(save());
}

TEST_F(ResumedDownloadTest, goesOnByADateThatIsOldEnough) {
  saveHalf(cut(MockResponse(200).header("Last-Modified", noon).header("Date", anHourLater)));
  server.enqueue(MockResponse(206)
                     .header("Last-Modified", noon)
                     .header("Content-Range", "bytes 524288-1048575/1048576")
                     .body(generatedBytes(half, half)));

  expectWhole(save());

  EXPECT_EQ(server.takeRequest().header("If-Range"), noon);
}

TEST_F(ResumedDownloadTest, tellsProgressFromWhatIsThere) {
  saveHalf();
  Latch latch;
  server.enqueue(rest(half).hold(Moment::insideBody, latch, 1000));
  Download download(session, URLRequest(URL(server.url("/a"))), options());
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(half + 1000));
  latch.open();

  expectWhole(download.wait());

  EXPECT_GE(log.calls().front().completed, static_cast<std::int64_t>(half));
  for (const auto& call : log.calls()) EXPECT_EQ(call.total, static_cast<std::int64_t>(whole));
  EXPECT_EQ(log.last().completed, static_cast<std::int64_t>(whole));
}

TEST_F(ResumedDownloadTest, startsOverWhenTheServerSendsTheWhole) {
  saveHalf();
  server.enqueue(MockResponse(200).header("ETag", "\"two\"").body("other"));

  const Downloaded downloaded = save();

  EXPECT_EQ(downloaded.message(), "");
  EXPECT_EQ(files.read("a.bin"), "other");
  EXPECT_THAT(names(), ElementsAre("a.bin"));
}

TEST_F(ResumedDownloadTest, keepsTheNewBeginningWhenItStartedOver) {
  saveHalf();
  server.enqueue(MockResponse(200)
                     .header("ETag", "\"two\"")
                     .body(std::string(3000, 'x'))
                     .dropConnection(Moment::insideBody, 1000));
  EXPECT_EQ(save().code(), URLErrorCode::networkConnectionLost);
  server.enqueue(MockResponse(206)
                     .header("ETag", "\"two\"")
                     .header("Content-Range", "bytes 1000-2999/3000")
                     .body(std::string(2000, 'x')));

  const Downloaded downloaded = save();

  EXPECT_EQ(downloaded.message(), "");
  EXPECT_EQ(files.read("a.bin"), std::string(3000, 'x'));
}

TEST_F(ResumedDownloadTest, keepsNothingWithoutAStrongValidator) {
  for (MockResponse response :
       {MockResponse(200), MockResponse(200).header("ETag", "W/\"one\""),
        MockResponse(200).header("ETag", "W/\"one\"").header("Last-Modified", noon).header("Date", anHourLater),
        MockResponse(200).header("Last-Modified", noon).header("Date", noon), tagged(203)}) {
    server.enqueue(cut(std::move(response)));
    EXPECT_EQ(save().code(), URLErrorCode::networkConnectionLost);
    EXPECT_THAT(names(), IsEmpty());
  }
}

TEST_F(ResumedDownloadTest, keepsNothingOfABodyThatHasToBeDecoded) {
  server.enqueue(tagged().gzipBody(generatedBytes(whole)).dropConnection(Moment::insideBody, 100));
  EXPECT_EQ(save().code(), URLErrorCode::networkConnectionLost);
  EXPECT_THAT(names(), IsEmpty());

  server.enqueue(tagged().gzipBody(generatedBytes(whole)));
  expectWhole(save());
}

TEST_F(ResumedDownloadTest, refusesAPartThatHasToBeDecoded) {
  saveHalf();
  server.enqueue(tagged(206).header("Content-Range", "bytes 524288-1048575/1048576").gzipBody("rest"));

  const Downloaded downloaded = save();

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotDecodeRawData);
  EXPECT_EQ(std::filesystem::file_size(part()), half);
}

TEST_F(ResumedDownloadTest, refusesAnotherPartThanItAskedForAndKeepsWhatIsThere) {
  saveHalf();
  const auto part206 = [](std::string range) {
    return tagged(206).header("Content-Range", std::move(range)).body("rest");
  };
  for (MockResponse response :
       {part206("bytes 524287-1048575/1048576"), part206("bytes 524289-1048575/1048576"),
        part206("bytes 0-1048575/1048576"), part206("bytes */1048576"), part206("nonsense"), tagged(206).body("rest"),
        part206("bytes 524288-1048575/1048576").contentType("multipart/byteranges")}) {
    server.enqueue(std::move(response));

    const Downloaded downloaded = save();

    EXPECT_EQ(downloaded.code(), URLErrorCode::cannotParseResponse) << downloaded.message();
    EXPECT_EQ(downloaded.http().statusCode(), 206);
    EXPECT_EQ(std::filesystem::file_size(part()), half);
  }
  server.enqueue(rest(half));
  expectWhole(save());
}

TEST_F(ResumedDownloadTest, refusesAPartThatItDidNotAskFor) {
  server.enqueue(rest(half));

  EXPECT_EQ(save().code(), URLErrorCode::cannotParseResponse);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ResumedDownloadTest, asksForTheWholeWhenThePartIsOfAnotherFile) {
  for (const bool hasOtherTag : {true, false}) {
    saveHalf();
    if (hasOtherTag) {
      server.enqueue(MockResponse(206)
                         .header("ETag", "\"two\"")
                         .header("Content-Range", "bytes 524288-1048575/1048576")
                         .body("rest"));
    } else {
      server.enqueue(rest(half, whole + 1));
    }
    server.enqueue(MockResponse(200).header("ETag", "\"two\"").body("other"));

    const Downloaded downloaded = save();

    EXPECT_EQ(downloaded.message(), "");
    EXPECT_EQ(files.read("a.bin"), "other");
    EXPECT_TRUE(server.takeRequest().hasHeader("Range"));
    const ReceivedRequest again = server.takeRequest();
    EXPECT_FALSE(again.hasHeader("Range"));
    EXPECT_FALSE(again.hasHeader("If-Range"));
  }
}

TEST_F(ResumedDownloadTest, refusesToGoOnWithAPartOfAPart) {
  saveHalf();
  server.enqueue(tagged(206).header("Content-Range", "bytes 524288-524387/1048576").body(generatedBytes(100, half)));

  const Downloaded downloaded = save();
  EXPECT_EQ(downloaded.code(), URLErrorCode::networkConnectionLost);
  EXPECT_THAT(downloaded.message(), HasSubstr("524388 of 1048576 bytes are there"));
  server.enqueue(rest(half + 100));

  expectWhole(save());
}

/// As a process leaves it that is killed between the last byte and the end.
TEST_F(ResumedDownloadTest, isCompleteWhenTheServerSaysThatNothingIsMissing) {
  saveHalf();
  std::filesystem::remove(part());
  files.write("a.bin.corvane-part", generatedBytes(whole));
  std::string text = files.read("a.bin.corvane-resume");
  text.replace(text.find("00000000000000524288"), 20, "00000000000001048576");
  files.write("a.bin.corvane-resume", text);
  server.enqueue(tagged(416).header("Content-Range", "bytes */1048576").contentType("text/html").body("nothing there"));

  const Downloaded downloaded = save(options(digestOf(generatedBytes(whole))));

  expectWhole(downloaded);
  EXPECT_EQ(server.takeRequest().header("Range"), "bytes=1048576-");
  EXPECT_EQ(downloaded.http().statusCode(), 200);
  EXPECT_EQ(downloaded.http().value("ETag"), "\"one\"");
  EXPECT_FALSE(downloaded.http().value("Content-Type"));
}

TEST_F(ResumedDownloadTest, asksForTheWholeWhenThereIsLessThanItHas) {
  saveHalf();
  server.enqueue(MockResponse(416).header("Content-Range", "bytes */1000").body("no"));
  server.enqueue(tagged().generatedBody(whole));

  expectWhole(save());
}

TEST_F(ResumedDownloadTest, isNoRedirectWhereItAsksForTheWhole) {
  saveHalf();
  server.enqueue(MockResponse(416).header("Content-Range", "bytes */1000").body("no"));
  server.enqueue(tagged().generatedBody(whole));

  Download download(session, URLRequest(URL(server.url("/a"))), options());
  expectWhole(download.resume().wait());

  const auto metrics = download.task().metrics();
  ASSERT_EQ(metrics->transactions.size(), 2U);
  EXPECT_EQ(metrics->transactions[1].cause, TransactionMetrics::Cause::downloadRestarted);
  EXPECT_EQ(metrics->redirectCount, 0);
}

TEST_F(ResumedDownloadTest, keepsWhatIsThereThroughErrors) {
  saveHalf();
  server.enqueue(MockResponse(503).body("later"));
  const Downloaded unavailable = save();
  EXPECT_EQ(unavailable.http().statusCode(), 503);
  EXPECT_EQ(contents(unavailable.file), "later");
  server.enqueue(MockResponse(200).dropConnection(Moment::insideHead));
  EXPECT_TRUE(save().error);
  server.enqueue(MockResponse(302).header("Location", "/b"));
  server.enqueue(rest(half));

  const Downloaded downloaded = save();
  EXPECT_EQ(downloaded.message(), "");
  EXPECT_TRUE(files.read("a.bin") == generatedBytes(whole));
  EXPECT_EQ(server.requests().back().target, "/b");
  EXPECT_EQ(server.requests().back().header("Range"), "bytes=524288-");
}

class DamagedPartTest : public ResumedDownloadTest {
 protected:
  void expectToStartOver() {
    server.enqueue(tagged().generatedBody(whole));
    expectWhole(save());
    EXPECT_FALSE(server.takeRequest().hasHeader("Range"));
  }
};

TEST_F(DamagedPartTest, startsOverWithoutItsRecord) {
  saveHalf();
  std::filesystem::remove(record());
  expectToStartOver();
}

TEST_F(DamagedPartTest, startsOverWithADamagedRecord) {
  saveHalf();
  std::filesystem::resize_file(record(), 60);
  expectToStartOver();
}

TEST_F(DamagedPartTest, startsOverWithoutThePart) {
  saveHalf();
  std::filesystem::remove(part());
  expectToStartOver();
}

TEST_F(DamagedPartTest, startsOverWhenThePartIsShorterThanItWas) {
  saveHalf();
  std::filesystem::resize_file(part(), half - 1);
  expectToStartOver();
}

TEST_F(DamagedPartTest, startsOverWithThePartOfAnotherURL) {
  server.enqueue(cut(tagged()));
  (void)Download(session, URLRequest(URL(server.url("/b"))), options()).resume().wait();
  (void)server.takeRequest();
  expectToStartOver();
}

/// As a process leaves it that is killed before it noted what it wrote.
TEST_F(DamagedPartTest, goesOnFromTheLengthThatWasNoted) {
  saveHalf();
  std::filesystem::resize_file(part(), half + 12345);
  server.enqueue(rest(half));

  expectWhole(save());
}

TEST_F(DamagedPartTest, isAnErrorWhereThePartIsNoFile) {
  std::filesystem::create_symlink("elsewhere", part());
  const Downloaded linked = save();
  EXPECT_EQ(linked.code(), URLErrorCode::cannotCreateFile);
  EXPECT_THAT(linked.message(), HasSubstr(part()));
  std::filesystem::remove(part());

  ASSERT_EQ(::mkfifo(part().c_str(), 0600), 0);
  EXPECT_THAT(save().message(), HasSubstr("no regular file"));
  EXPECT_EQ(server.requestCount(), 0);
}

class DigestOfResumedDownloadTest : public ResumedDownloadTest {};

TEST_F(DigestOfResumedDownloadTest, isThatOfTheWhole) {
  saveHalf();
  server.enqueue(rest(half));

  expectWhole(save(options(digestOf(generatedBytes(whole)))));
}

TEST_F(DigestOfResumedDownloadTest, isThatOfTheNewFileWhenItStartsOver) {
  saveHalf();
  server.enqueue(MockResponse(200).body("hello"));

  const Downloaded downloaded = save(options(digestOf("hello")));

  EXPECT_EQ(downloaded.message(), "");
  EXPECT_EQ(files.read("a.bin"), "hello");
}

TEST_F(DigestOfResumedDownloadTest, removesAllWhenItIsAnother) {
  saveHalf();
  std::string changed = generatedBytes(half);
  changed[1000] ^= 1;
  files.write("a.bin.corvane-part", changed);
  server.enqueue(rest(half));

  const Downloaded downloaded = save(options(digestOf(generatedBytes(whole))));

  ASSERT_TRUE(downloaded.error);
  EXPECT_TRUE(downloaded.error->is<DigestMismatch>()) << downloaded.message();
  EXPECT_THAT(names(), IsEmpty());
}

class LockedPartTest : public ResumedDownloadTest {};

TEST_F(LockedPartTest, isAnErrorForASecondDownload) {
  server.enqueue(tagged().generatedBody(whole).stall(Moment::insideBody, half));
  Download first(session, URLRequest(URL(server.url("/a"))), options());
  const ProgressLog log(first.task());
  first.resume();
  ASSERT_TRUE(log.waitFor(half));

  const Downloaded second = save();

  EXPECT_EQ(second.code(), URLErrorCode::cannotOpenFile);
  EXPECT_THAT(second.message(), HasSubstr("another download is writing its part, " + part()));
  EXPECT_EQ(server.requestCount(), 1);
  first.cancel();
  EXPECT_EQ(first.wait().code(), URLErrorCode::cancelled);
  server.enqueue(rest(half));
  expectWhole(save());
}

TEST_F(LockedPartTest, isAnErrorBeforeAnythingIsSentWhereTheRequestCannotBeResumed) {
  URLRequest post(URL(server.url("/a")));
  post.httpMethod = "POST";
  EXPECT_EQ(Download(session, post, options()).resume().wait().message(), "only a GET can be resumed, not a POST");

  URLRequest ranged(URL(server.url("/a")));
  ranged.allHTTPHeaderFields.set("Range", "bytes=0-9");
  EXPECT_THAT(Download(session, ranged, options()).resume().wait().message(), HasSubstr("leave out the Range"));
  EXPECT_EQ(server.requestCount(), 0);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(LockedPartTest, isLeftAloneWhereTheDestinationIsTaken) {
  saveHalf();
  files.write("a.bin", "mine");

  EXPECT_EQ(save().code(), URLErrorCode::cannotCreateFile);
  EXPECT_EQ(std::filesystem::file_size(part()), half);
  EXPECT_EQ(files.read("a.bin"), "mine");
}

TEST_F(LockedPartTest, isRemovedWhereNothingCameOfIt) {
  server.stopListening();

  EXPECT_TRUE(save().error);
  EXPECT_THAT(names(), IsEmpty());
}

}  // namespace
}  // namespace platform
