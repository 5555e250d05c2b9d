#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "TransferTest.hpp"

/// Downloads that fail in the file system.
namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Files of this process may not grow beyond a size while it lives: what a full disk does, to those who write more.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : signalHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &saved_), 0);
    const rlimit limited{bytes, saved_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
  }
  ~FileSizeLimit() {
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &saved_), 0);
    std::signal(SIGXFSZ, signalHandler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*signalHandler_)(int);
  rlimit saved_{};
};

class DownloadFailureTest : public TransferTest {};

TEST_F(DownloadFailureTest, aTemporaryDirectoryThatIsMissingIsAnErrorThatNamesIt) {
  const std::string missing = files / "missing";
  const ScopedVariable moved("TMPDIR", missing);

  const Downloaded downloaded = downloadOf(MockResponse(200).body("x"));

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotCreateFile);
  EXPECT_EQ(downloaded.error->domain(), kCFErrorDomainCFNetwork);
  EXPECT_EQ(downloaded.message(), "no file for the download can be made in " + missing + ": No such file or directory");
  EXPECT_EQ(downloaded.http().statusCode(), 200);
  EXPECT_FALSE(downloaded.file);
}

TEST_F(DownloadFailureTest, aMissingTemporaryDirectoryMattersToAnEmptyBodyToo) {
  const ScopedVariable moved("TMPDIR", files / "missing");

  EXPECT_EQ(downloadOf(MockResponse(200)).code(), URLErrorCode::cannotCreateFile);
  EXPECT_EQ(downloadOf(MockResponse(204)).code(), URLErrorCode::cannotCreateFile);
}

TEST_F(DownloadFailureTest, aTemporaryDirectoryThatMayNotBeWrittenIsAnError) {
  // Nobody may make files there, root included.
  const ScopedVariable moved("TMPDIR", "/proc/self");

  const Downloaded downloaded = downloadOf(MockResponse(200).body("x"));

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotCreateFile);
  EXPECT_THAT(downloaded.message(), HasSubstr("/proc/self"));
}

TEST_F(DownloadFailureTest, aTemporaryDirectoryThatIsAFileIsAnError) {
  const ScopedVariable moved("TMPDIR", files.write("file", "x"));

  EXPECT_EQ(downloadOf(MockResponse(200).body("x")).code(), URLErrorCode::cannotCreateFile);
}

TEST_F(DownloadFailureTest, aFileThatCannotGrowIsAnErrorAndIsRemoved) {
  const FileSizeLimit limit(300'000);

  const Downloaded downloaded = downloadOf(MockResponse(200).generatedBody(1 << 20));

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotWriteToFile);
  EXPECT_THAT(downloaded.message(), HasSubstr("the download cannot be written to " + temporary.path().string()));
  EXPECT_THAT(downloaded.message(), HasSubstr("File too large"));
  EXPECT_FALSE(downloaded.file);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadFailureTest, aFileThatCannotGrowIsAnErrorOfADecodedBodyToo) {
  const FileSizeLimit limit(300'000);

  const Downloaded downloaded = downloadOf(MockResponse(200).gzipBody(std::string(1 << 20, 'z')));

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotWriteToFile);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadFailureTest, aFileThatCannotGrowIsAnErrorOfACopyToo) {
  const URL source = file("source", std::string(1 << 20, 'x'));
  const FileSizeLimit limit(300'000);

  EXPECT_EQ(download(URLRequest(source)).code(), URLErrorCode::cannotWriteToFile);
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadFailureTest, theNextDownloadSucceedsWhenThereIsRoomAgain) {
  {
    const FileSizeLimit limit(300'000);
    EXPECT_TRUE(downloadOf(MockResponse(200).generatedBody(1 << 20)).error);
  }

  EXPECT_EQ(contents(downloadOf(MockResponse(200).generatedBody(1 << 20)).file).size(), 1u << 20);
}

/// Does something to the file of a download while the server stands still in the middle of the body.
class DisturbedDownloadTest : public DownloadFailureTest {
 protected:
  template <class Disturb>
  Downloaded disturbed(Disturb disturb) {
    Latch latch;
    server.enqueue(MockResponse(200).generatedBody(1 << 20).hold(Moment::insideBody, latch));
    Download download(session, URLRequest(URL(server.url("/"))));
    const ProgressLog log(download.task());
    download.resume();
    EXPECT_TRUE(log.waitFor(1 << 19));
    const auto made = leftovers();
    EXPECT_EQ(made.size(), 1u);
    disturb(made.at(0));
    latch.open();
    return download.wait();
  }
};

TEST_F(DisturbedDownloadTest, aFileThatIsRemovedMeanwhileIsAnError) {
  const Downloaded downloaded = disturbed([](const std::string& path) { std::filesystem::remove(path); });

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotWriteToFile);
  EXPECT_THAT(downloaded.message(), HasSubstr("it was removed while it was being written"));
  EXPECT_FALSE(downloaded.file);
}

TEST_F(DisturbedDownloadTest, aDirectoryThatIsRemovedMeanwhileIsAnError) {
  const Downloaded downloaded = disturbed([&](const std::string&) { std::filesystem::remove_all(temporary.path()); });

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotWriteToFile);
  std::filesystem::create_directory(temporary.path());
}

TEST_F(DisturbedDownloadTest, aFileThatIsMovedAwayMeanwhileIsAnError) {
  const Downloaded downloaded =
      disturbed([&](const std::string& path) { std::filesystem::rename(path, files / "elsewhere"); });

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotWriteToFile) << contents(downloaded.file).size();
}

TEST_F(DisturbedDownloadTest, aFileThatIsReplacedMeanwhileIsAnErrorAndTheOtherStays) {
  std::string path;
  const Downloaded downloaded = disturbed([&](const std::string& made) {
    path = made;
    std::filesystem::rename(files.write("other", "another's"), made);
  });

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotWriteToFile);
  EXPECT_EQ(FileManager::contents(path).text(), "another's");
}

}  // namespace
}  // namespace platform
