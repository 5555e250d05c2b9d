#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "ResumedDownloads.hpp"

/// What is trusted of the files that an earlier download left, and what may happen to them.
namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::ReceivedRequest;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class KeptPartTest : public ResumedDownloadTest {
 protected:
  void replaceInRecord(const std::string& before, const std::string& after) {
    std::string text = files.read("a.bin.corvane-resume");
    ASSERT_NE(text.find(before), text.npos) << text;
    text.replace(text.find(before), before.size(), after);
    files.write("a.bin.corvane-resume", text);
    ASSERT_EQ(::chmod(record().c_str(), 0600), 0);
  }
  void expectToStartOver() {
    server.enqueue(tagged().generatedBody(whole));
    expectWhole(save());
    EXPECT_FALSE(server.takeRequest().hasHeader("Range"));
  }
  static MockResponse part206(const std::string& range, std::size_t count) {
    return tagged(206).header("Content-Range", range).body(generatedBytes(count, half));
  }
  static mode_t modeOf(const std::string& path) {
    struct stat facts{};
    EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
    return facts.st_mode & 07777;
  }
};

TEST_F(KeptPartTest, ofAnotherURLStaysThroughErrors) {
  server.enqueue(cut(tagged()));
  EXPECT_EQ(saveFrom("/b").code(), URLErrorCode::networkConnectionLost);
  server.enqueue(MockResponse(404).body("none"));
  EXPECT_EQ(save().http().statusCode(), 404);
  server.enqueue(MockResponse(200).dropConnection(Moment::insideHead));
  EXPECT_TRUE(save().error);
  ASSERT_EQ(std::filesystem::file_size(part()), half);
  server.enqueue(rest(half));

  expectWhole(saveFrom("/b"));

  EXPECT_EQ(server.requests().back().header("Range"), "bytes=524288-");
}

TEST_F(KeptPartTest, withARecordOfAnotherFormatStaysThroughErrors) {
  saveHalf();
  replaceInRecord("download 1", "download 2");
  server.enqueue(MockResponse(503).body("later"));

  EXPECT_EQ(save().http().statusCode(), 503);

  EXPECT_EQ(std::filesystem::file_size(part()), half);
  EXPECT_THAT(files.read("a.bin.corvane-resume"), HasSubstr("download 2"));
}

TEST_F(KeptPartTest, isNotGoneOnWithWhereNobodyTellsTheTotal) {
  saveHalf();
  replaceInRecord("total: 1048576", "total: unknown");
  server.enqueue(part206("bytes 524288-524387/*", 100));
  server.enqueue(tagged().generatedBody(whole));

  expectWhole(save());

  EXPECT_TRUE(server.takeRequest().hasHeader("Range"));
  EXPECT_FALSE(server.takeRequest().hasHeader("Range"));
}

TEST_F(KeptPartTest, isRemovedWhenMoreCameThanTheRange) {
  saveHalf();
  server.enqueue(part206("bytes 524288-524387/1048576", 101));

  const Downloaded downloaded = save();

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotParseResponse);
  EXPECT_THAT(downloaded.message(), HasSubstr("524389 bytes are there, not 524388"));
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KeptPartTest, isNotCompleteWithLessThanTheRange) {
  saveHalf();
  server.enqueue(part206("bytes 524288-1048575/*", half - 1));

  EXPECT_EQ(save().code(), URLErrorCode::networkConnectionLost);
  EXPECT_EQ(std::filesystem::file_size(part()), whole - 1);
}

TEST_F(KeptPartTest, isRefusedWhereOthersMayHaveWrittenIt) {
  saveHalf();
  ASSERT_EQ(::chmod(part().c_str(), 0646), 0);
  const Downloaded open = save();
  EXPECT_EQ(open.code(), URLErrorCode::cannotCreateFile);
  EXPECT_THAT(open.message(), HasSubstr("another user may have written " + part()));

  ASSERT_EQ(::chmod(part().c_str(), 0644), 0);
  std::filesystem::create_hard_link(part(), files / "second");
  EXPECT_THAT(save().message(), HasSubstr("another user may have written " + part()));

  EXPECT_EQ(server.requestCount(), 1);
  EXPECT_EQ(std::filesystem::file_size(part()), half);
}

TEST_F(KeptPartTest, isNotGoneOnWithARecordThatOthersMayHaveWritten) {
  saveHalf();
  ASSERT_EQ(::chmod(record().c_str(), 0620), 0);
  expectToStartOver();

  saveHalf();
  std::filesystem::rename(record(), files / "elsewhere");
  std::filesystem::create_symlink("elsewhere", record());
  server.enqueue(tagged().generatedBody(whole));
  EXPECT_EQ(save().message(), "");
  EXPECT_FALSE(server.takeRequest().hasHeader("Range"));
}

TEST_F(KeptPartTest, isNotGoneOnWithAWeakValidator) {
  saveHalf();
  replaceInRecord("\"one\"", "W/\"one\"");
  expectToStartOver();
}

TEST_F(KeptPartTest, ofAnotherInItsPlaceIsLeftAlone) {
  server.enqueue(tagged().generatedBody(whole).stall(Moment::insideBody, half));
  Download download(session, URLRequest(URL(server.url("/a"))), options());
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(half));
  std::filesystem::remove(part());
  std::filesystem::remove(record());
  files.write("a.bin.corvane-part", "another's");
  files.write("a.bin.corvane-resume", "another's record");
  download.cancel();

  EXPECT_EQ(download.wait().code(), URLErrorCode::cancelled);

  EXPECT_THAT(names(), UnorderedElementsAre("a.bin.corvane-part", "a.bin.corvane-resume"));
  EXPECT_EQ(files.read("a.bin.corvane-part"), "another's");
}

TEST_F(KeptPartTest, isPrivateLikeTheFileThatItIsToReplace) {
  files.write("a.bin", "old");
  ASSERT_EQ(::chmod((files / "a.bin").c_str(), 06600), 0);
  Latch latch;
  server.enqueue(tagged().generatedBody(whole).hold(Moment::insideBody, latch, half));
  DownloadOptions overwriting = options();
  overwriting.destination->overwrites = true;
  Download download(session, URLRequest(URL(server.url("/a"))), overwriting);
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(half));
  EXPECT_EQ(modeOf(part()), 0600u);
  latch.open();

  expectWhole(download.wait());

  EXPECT_EQ(modeOf(path()), 0600u);
}

TEST_F(KeptPartTest, isNotBegunWhereItsRecordCannotHaveItsName) {
  const std::string longName(241, 'a');  // the part would have one of 254 bytes, the record one of 256
  const Downloaded downloaded = save({.destination = {{.path = (files / longName).string(), .resumes = true}}});

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotCreateFile);
  EXPECT_THAT(downloaded.message(), HasSubstr(".corvane-resume"));
  EXPECT_EQ(server.requestCount(), 0);
  EXPECT_THAT(names(), IsEmpty());
}

}  // namespace
}  // namespace platform
