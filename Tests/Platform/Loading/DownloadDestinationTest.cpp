#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "Platform/Loading/DownloadOptions.hpp"
#include "TransferTest.hpp"

/// Downloads to a path of the caller's choice.
namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* ofHello = "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";
constexpr const char* ofNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class DownloadDestinationTest : public TransferTest {
 protected:
  Downloaded save(const DownloadDestination& destination) { return save(DownloadOptions{.destination = destination}); }
  Downloaded save(const DownloadOptions& options) {
    return Download(session, URLRequest(URL(server.url("/"))), options).resume().wait();
  }
  Downloaded refused(const std::string& path, bool overwrites = false) {
    Downloaded downloaded = save({.path = path, .overwrites = overwrites});
    EXPECT_EQ(downloaded.code(), URLErrorCode::cannotCreateFile);
    EXPECT_THAT(downloaded.message(), HasSubstr(path));
    EXPECT_EQ(server.requestCount(), 0);
    return downloaded;
  }
  /// The names of what is in the directory of the test's files, hidden ones included.
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(files.path()))
      names.push_back(entry.path().filename());
    return names;
  }
  std::string here(std::string_view name) const { return (files / name).string(); }
};

TEST_F(DownloadDestinationTest, isWhereTheFileIsInTheEnd) {
  server.enqueue(MockResponse(200).body("hello"));

  const Downloaded downloaded = save({.path = here("a.txt")});

  EXPECT_EQ(downloaded.message(), "");
  ASSERT_TRUE(downloaded.file);
  EXPECT_EQ(downloaded.file->path(), here("a.txt"));
  EXPECT_EQ(files.read("a.txt"), "hello");
  EXPECT_THAT(names(), ElementsAre("a.txt"));
  EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(DownloadDestinationTest, growsBesideItsDestination) {
  Latch latch;
  server.enqueue(MockResponse(200).generatedBody(1 << 20).hold(Moment::insideBody, latch));
  Download download(session, URLRequest(URL(server.url("/"))), {.destination = {{.path = here("a.bin")}}});
  const ProgressLog log(download.task());
  download.resume();

  ASSERT_TRUE(log.waitFor(1 << 19));
  const auto meanwhile = names();
  latch.open();

  ASSERT_EQ(meanwhile.size(), 1u);
  EXPECT_TRUE(meanwhile[0].starts_with(".CorvaneDownload_")) << meanwhile[0];
  EXPECT_EQ(download.wait().message(), "");
}

TEST_F(DownloadDestinationTest, hasThePermissionsOfAnyNewFile) {
  server.enqueue(MockResponse(200).body("hello"));
  const mode_t mask = ::umask(0027);

  const Downloaded downloaded = save({.path = here("a.txt")});
  ::umask(mask);

  struct stat facts{};
  ASSERT_EQ(::stat(here("a.txt").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0640u);
}

TEST_F(DownloadDestinationTest, mayBeRelative) {
  server.enqueue(MockResponse(200).body("hello"));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(files.path());

  const Downloaded downloaded = save({.path = "a.txt"});
  std::filesystem::current_path(before);

  EXPECT_EQ(downloaded.message(), "");
  EXPECT_EQ(files.read("a.txt"), "hello");
}

TEST_F(DownloadDestinationTest, isNeverAnExistingFile) {
  files.write("a.txt", "old");

  const Downloaded downloaded = refused(here("a.txt"));

  EXPECT_THAT(downloaded.message(), HasSubstr("the file exists already"));
  EXPECT_EQ(files.read("a.txt"), "old");
  EXPECT_THAT(names(), ElementsAre("a.txt"));
}

TEST_F(DownloadDestinationTest, isNotAFileThatCameMeanwhile) {
  Latch latch;
  server.enqueue(MockResponse(200).body("hello").hold(Moment::afterHead, latch));
  Download download(session, URLRequest(URL(server.url("/"))), {.destination = {{.path = here("a.txt")}}});
  download.resume();
  (void)server.takeRequest();
  files.write("a.txt", "another's");
  latch.open();

  const Downloaded downloaded = download.wait();

  EXPECT_EQ(downloaded.code(), URLErrorCode::cannotMoveFile);
  EXPECT_THAT(downloaded.message(), HasSubstr(here("a.txt")));
  EXPECT_FALSE(downloaded.file);
  EXPECT_EQ(files.read("a.txt"), "another's");
  EXPECT_THAT(names(), ElementsAre("a.txt"));
}

TEST_F(DownloadDestinationTest, replacesAFileOnlyWhenThatIsAskedForAndKeepsItsPermissions) {
  files.write("a.txt", "old");
  ASSERT_EQ(::chmod(here("a.txt").c_str(), 0604), 0);
  server.enqueue(MockResponse(200).body("hello"));

  const Downloaded downloaded = save({.path = here("a.txt"), .overwrites = true});

  EXPECT_EQ(downloaded.message(), "");
  EXPECT_EQ(files.read("a.txt"), "hello");
  struct stat facts{};
  ASSERT_EQ(::stat(here("a.txt").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0604u);
  EXPECT_THAT(names(), ElementsAre("a.txt"));
}

TEST_F(DownloadDestinationTest, givesOnlyPermissionsOfTheReplacedFileToTheNewOneAndFromTheBeginning) {
  files.write("a.txt", "old");
  ASSERT_EQ(::chmod(here("a.txt").c_str(), 06700), 0);
  Latch latch;
  server.enqueue(MockResponse(200).body("hello").hold(Moment::afterHead, latch));
  Download download(session, URLRequest(URL(server.url("/"))),
                    {.destination = {{.path = here("a.txt"), .overwrites = true}}});
  download.resume();
  (void)server.takeRequest();
  struct stat facts{};
  for (const std::string& name : names()) {
    if (name == "a.txt") continue;
    ASSERT_EQ(::stat(here(name).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0700u);
  }
  EXPECT_EQ(names().size(), 2u);
  latch.open();

  EXPECT_EQ(download.wait().message(), "");

  ASSERT_EQ(::stat(here("a.txt").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0700u);
}

TEST_F(DownloadDestinationTest, keepsTheFileThatTookThePlaceOfAnother) {
  server.enqueue(MockResponse(200).body("first"));
  server.enqueue(MockResponse(200).body("second"));
  server.enqueue(MockResponse(200).body("third"));

  save({.path = here("a.txt"), .overwrites = true});
  EXPECT_THAT(names(), IsEmpty());  // there was no other
  files.write("a.txt", "old");
  save({.path = here("a.txt"), .overwrites = true});
  EXPECT_EQ(files.read("a.txt"), "second");
  save({.path = here("a.txt"), .overwrites = true, .resumes = true});

  EXPECT_EQ(files.read("a.txt"), "third");
}

TEST_F(DownloadDestinationTest, isNotWhereAPartGoesThatNobodyAskedFor) {
  const auto part = [] { return MockResponse(206).header("Content-Range", "bytes 0-4/10").body("hello"); };
  server.enqueue(part());
  server.enqueue(part());

  const Downloaded unasked = save({.path = here("a.txt")});
  EXPECT_EQ(unasked.code(), URLErrorCode::cannotParseResponse);
  EXPECT_THAT(unasked.message(), HasSubstr("the whole was asked for"));
  EXPECT_THAT(names(), IsEmpty());

  URLRequest request(URL(server.url("/")));
  request.allHTTPHeaderFields.set("Range", "bytes=0-4");
  const Downloaded asked = Download(session, request, {.destination = {{.path = here("a.txt")}}}).resume().wait();
  EXPECT_EQ(asked.message(), "");
  EXPECT_EQ(files.read("a.txt"), "hello");
}

TEST_F(DownloadDestinationTest, keepsTheFileThatAFailedDownloadWasToReplace) {
  files.write("a.txt", "old");
  server.enqueue(MockResponse(200).generatedBody(1 << 20).dropConnection(Moment::insideBody));

  EXPECT_EQ(save({.path = here("a.txt"), .overwrites = true}).code(), URLErrorCode::networkConnectionLost);
  EXPECT_EQ(files.read("a.txt"), "old");
  EXPECT_THAT(names(), ElementsAre("a.txt"));
}

TEST_F(DownloadDestinationTest, isRefusedBeforeAnythingIsSentWhereNoFileCanBe) {
  std::filesystem::create_directory(files / "folder");
  std::filesystem::create_symlink("nowhere", files / "link");
  ASSERT_EQ(::mkfifo(here("pipe").c_str(), 0600), 0);

  EXPECT_THAT(refused(here("folder"), true).message(), HasSubstr("it is a directory"));
  EXPECT_THAT(refused(here("folder/"), true).message(), HasSubstr("it is a directory"));
  EXPECT_THAT(refused(here("link")).message(), HasSubstr("symbolic link"));
  EXPECT_THAT(refused(here("link"), true).message(), HasSubstr("symbolic link"));
  EXPECT_THAT(refused(here("pipe"), true).message(), HasSubstr("no regular file"));
  EXPECT_THAT(refused(here("missing/a.txt")).message(), HasSubstr("No such file or directory"));
  EXPECT_THAT(refused("/proc/self/a.txt").message(), HasSubstr("cannot be saved as /proc/self/a.txt"));
  EXPECT_THAT(refused(here(std::string(300, 'n'))).message(), HasSubstr("File name too long"));
  EXPECT_EQ(save(DownloadDestination{}).message(), "the path to save the download as is empty");
  EXPECT_EQ(names().size(), 3u);
}

TEST_F(DownloadDestinationTest, isLeftAloneByAFailedOrCancelledDownload) {
  server.enqueue(MockResponse(200).generatedBody(1 << 20).dropConnection(Moment::insideBody));
  EXPECT_EQ(save({.path = here("a.bin")}).code(), URLErrorCode::networkConnectionLost);
  EXPECT_THAT(names(), IsEmpty());

  server.enqueue(MockResponse(200).generatedBody(1 << 20).stall(Moment::insideBody));
  Download download(session, URLRequest(URL(server.url("/"))), {.destination = {{.path = here("a.bin")}}});
  const ProgressLog log(download.task());
  download.resume();
  ASSERT_TRUE(log.waitFor(1 << 19));
  download.cancel();
  EXPECT_EQ(download.wait().code(), URLErrorCode::cancelled);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(DownloadDestinationTest, isNotWhereTheBodyOfAnErrorGoes) {
  server.enqueue(MockResponse(404).body("no such thing"));

  const Downloaded downloaded = save({.path = here("a.txt")});

  EXPECT_EQ(downloaded.http().statusCode(), 404);
  EXPECT_EQ(contents(downloaded.file), "no such thing");
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(DownloadDestinationTest, getsNoFileOfNoContentAndAnEmptyOneOfAnEmptyBody) {
  server.enqueue(MockResponse(204));
  EXPECT_EQ(save({.path = here("a.txt")}).message(), "");
  EXPECT_THAT(names(), IsEmpty());

  server.enqueue(MockResponse(200).body(""));
  const Downloaded empty = save({.path = here("a.txt")});
  EXPECT_EQ(empty.message(), "");
  EXPECT_EQ(files.read("a.txt"), "");
}

TEST_F(DownloadDestinationTest, servesRedirectsAndCodingsAndFileURLs) {
  server.enqueue(MockResponse(302).header("Location", "/there").body("moved"));
  server.enqueue(MockResponse(200).gzipBody("hello"));
  const Downloaded loaded = save({.path = here("a.txt")});
  EXPECT_EQ(loaded.message(), "");
  EXPECT_EQ(files.read("a.txt"), "hello");

  const URL source = file("source", "hello");
  const DownloadOptions options{.destination = {{.path = here("b.txt")}}, .expectedDigest = ofHello};
  const Downloaded copied = Download(session, URLRequest(source), options).resume().wait();
  EXPECT_EQ(copied.message(), "");
  EXPECT_EQ(copied.file->path(), here("b.txt"));
  EXPECT_EQ(files.read("b.txt"), "hello");
}

class ExpectedDigestTest : public DownloadDestinationTest {};

TEST_F(ExpectedDigestTest, isThatOfTheDecodedBody) {
  server.enqueue(MockResponse(200).body("hello"));
  server.enqueue(MockResponse(200).gzipBody("hello"));
  server.enqueue(MockResponse(200).body(""));
  server.enqueue(MockResponse(200).generatedBody(1'000'000));
  const std::string long_ = corvane::testkit::generatedBytes(1'000'000);

  EXPECT_EQ(save({.expectedDigest = ofHello}).message(), "");
  EXPECT_EQ(save({.destination = {{.path = here("a.txt")}}, .expectedDigest = ofHello}).message(), "");
  EXPECT_EQ(save({.expectedDigest = ofNothing}).message(), "");
  EXPECT_EQ(save({.expectedDigest = SHA256Digest::of(std::as_bytes(std::span(long_)))}).message(), "");
}

TEST_F(ExpectedDigestTest, ofAnotherFileIsAnErrorThatNamesBoth) {
  for (const bool hasDestination : {false, true}) {
    server.enqueue(MockResponse(200).body("hello"));
    DownloadOptions options{.expectedDigest = ofNothing};
    if (hasDestination) options.destination = {.path = here("a.txt")};

    const Downloaded downloaded = save(options);

    const std::string of = hasDestination ? " of " + here("a.txt") : "";
    EXPECT_EQ(downloaded.message(),
              "the download" + of + " has the SHA-256 digest " + ofHello + ", not " + ofNothing + " as expected");
    ASSERT_TRUE(downloaded.error->is<DigestMismatch>());
    EXPECT_EQ(downloaded.error->as<DigestMismatch>()->actual(), SHA256Digest(ofHello));
    EXPECT_EQ(downloaded.error->as<DigestMismatch>()->expected(), SHA256Digest(ofNothing));
    EXPECT_EQ(downloaded.http().statusCode(), 200);
    EXPECT_FALSE(downloaded.file);
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(leftovers(), IsEmpty());
  }
}

TEST_F(ExpectedDigestTest, ofAnEmptyBodyAndOfAFileURLIsCheckedToo) {
  server.enqueue(MockResponse(200).body(""));
  EXPECT_TRUE(save({.expectedDigest = ofHello}).error->is<DigestMismatch>());

  const URL source = file("source", "other");
  const Downloaded copied =
      Download(session, URLRequest(source), {.destination = {{.path = here("b")}}, .expectedDigest = ofHello})
          .resume()
          .wait();
  ASSERT_TRUE(copied.error);
  EXPECT_TRUE(copied.error->is<DigestMismatch>()) << copied.message();
  EXPECT_THAT(names(), ElementsAre("source"));
}

TEST_F(ExpectedDigestTest, isNotThatOfABodyThatTellsOfAnError) {
  server.enqueue(MockResponse(404).body("no such thing"));

  const Downloaded downloaded = save({.expectedDigest = ofHello});

  EXPECT_EQ(downloaded.message(), "");
  EXPECT_EQ(contents(downloaded.file), "no such thing");
}

}  // namespace
}  // namespace platform
