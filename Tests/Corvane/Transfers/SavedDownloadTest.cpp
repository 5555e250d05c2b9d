#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/ManualTime.hpp"
#include "TransferFixture.hpp"

/// Downloads with a destination and an expected digest, as requests have them.
namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::generatedBytes;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* ofHello = "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";
constexpr std::size_t whole = 1 << 20;

struct SaveFile : DownloadRequestable<SaveFile>, HTTPRetryAttempting<SaveFile> {
  URL url;
  std::string place;
  bool resumes = false;
  bool overwrites = false;
  std::optional<std::string> expectedDigest;
  bool isRefused = false;
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryDelta = 0;
  static constexpr std::int64_t retryLimit = 5;

  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPDownloadDestination destination() const { return {.path = place, .overwrites = overwrites, .resumes = resumes}; }
  void validate(const Response& response) const {
    if (isRefused && !response.result.error()) throw std::runtime_error("refused");
  }
  void validate() const {}
};

struct Model {
  std::string login;
};

class SavedDownloadTest : public TransferTest {
 protected:
  std::string here(std::string_view name) const { return (files / name).string(); }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(files.path()))
      names.push_back(entry.path().filename());
    return names;
  }

  testkit::TemporaryDirectory files;
};

TEST_F(SavedDownloadTest, isAtItsDestinationAfterASuccess) {
  server.enqueue(MockResponse(200).header("Content-Disposition", "attachment; filename=other.txt").body("hello"));

  const auto response =
      responseTo(SaveFile{.url = server.url("/"), .place = here("a.txt"), .expectedDigest = std::string(ofHello)});

  ASSERT_TRUE(response.result.url()) << response.result.error()->message();
  EXPECT_EQ(response.result.url()->fileSystemPath(), here("a.txt"));
  EXPECT_EQ(files.read("a.txt"), "hello");
  EXPECT_THAT(temporary.names(), ElementsAre(files.path().filename().string()));
}

TEST_F(SavedDownloadTest, isThereWhateverItsBodyIsMadeOf) {
  server.handleAll([](const auto&) { return MockResponse(200).json(R"({"login": "ada"})"); });
  const HTTPDownloadOptions options{.destination = {{.path = here("a.json")}}};
  const HTTPDownloadOptions others{.destination = {{.path = here("b.json")}}};

  EXPECT_EQ(DownloadGetRequest<Model>(server.url("/"), options).send().get().body.login, "ada");
  EXPECT_EQ(DownloadRequest<Data>(server.url("/"), HTTPMethod::post, Data("x"), others).send().get().body.text(),
            R"({"login": "ada"})");
  EXPECT_EQ(files.read("a.json"), R"({"login": "ada"})");
  EXPECT_EQ(files.read("b.json"), R"({"login": "ada"})");
}

TEST_F(SavedDownloadTest, leavesNothingOfAFailure) {
  server.handle("/missing", [](const auto&) { return MockResponse(404).body("no such thing"); });
  server.handle("/", [](const auto&) { return MockResponse(200).body("hello"); });

  const auto missing = responseTo(SaveFile{.url = server.url("/missing"), .place = here("a")});
  const auto refused = responseTo(SaveFile{.url = server.url("/"), .place = here("b"), .isRefused = true});
  const auto malformed = responseTo(DownloadGetRequest<Model>(server.url("/"), {.destination = {{.path = here("c")}}}));
  const auto wrong = responseTo(DownloadGetRequest<Data>(
      server.url("/"), {.destination = {{.path = here("d")}}, .expectedDigest = SHA256Digest(std::string(64, '0'))}));

  ASSERT_TRUE(missing.result.error() && refused.result.error() && malformed.result.error() && wrong.result.error());
  EXPECT_TRUE(wrong.result.error()->is<DigestMismatch>());
  EXPECT_THAT(wrong.result.error()->message(), HasSubstr(ofHello));
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(temporary.names(), ElementsAre(files.path().filename().string()));
}

TEST_F(SavedDownloadTest, letsTheBodyOfAnErrorBeRead) {
  server.enqueue(MockResponse(404).body("no such thing"));
  server.enqueue(MockResponse(500).generatedBody(whole));
  const SaveFile request{.url = server.url("/"), .place = here("a"), .resumes = true};

  const auto missing = responseTo(request);
  const auto broken = responseTo(request);

  ASSERT_TRUE(missing.result.error() && missing.result.error()->response());
  EXPECT_EQ(missing.result.error()->response()->statusCode(), 404);
  EXPECT_EQ(missing.result.error()->response()->body()->text(), "no such thing");
  EXPECT_EQ(broken.result.error()->response()->body()->text(), generatedBytes(64 * 1024));
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(temporary.names(), ElementsAre(files.path().filename().string()));
}

TEST_F(SavedDownloadTest, keepsWhatReplacedAnotherFile) {
  files.write("a", "old");
  server.handleAll([](const auto&) { return MockResponse(200).body("hello"); });

  const auto taken = responseTo(SaveFile{.url = server.url("/"), .place = here("a")});
  ASSERT_TRUE(taken.result.error());
  EXPECT_EQ(taken.result.error()->as<CFNetworkErrors>()->rawValue(), platform::URLErrorCode::cannotCreateFile);
  EXPECT_EQ(server.requestCount(), 0);

  const auto refused =
      responseTo(SaveFile{.url = server.url("/"), .place = here("a"), .overwrites = true, .isRefused = true});
  EXPECT_TRUE(refused.result.error());
  EXPECT_EQ(files.read("a"), "hello");
}

TEST_F(SavedDownloadTest, tellsOfADigestThatIsNone) {
  const auto response =
      responseTo(SaveFile{.url = server.url("/"), .place = here("a"), .expectedDigest = std::string("abc")});

  ASSERT_TRUE(response.result.error());
  EXPECT_THAT(response.result.error()->message(), HasSubstr("\"abc\" is no SHA-256 digest"));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(SavedDownloadTest, goesOnWithEachAttemptOfARetry) {
  const auto part = [](std::size_t from, std::size_t until) {
    return MockResponse(206)
        .header("ETag", "\"one\"")
        .header("Content-Range", "bytes " + std::to_string(from) + "-1048575/1048576")
        .body(generatedBytes(whole - from, from))
        .dropConnection(Moment::insideBody, until - from);
  };
  server.enqueue(
      MockResponse(200).header("ETag", "\"one\"").generatedBody(whole).dropConnection(Moment::insideBody, 300'000));
  server.enqueue(part(300'000, 600'000));
  server.enqueue(MockResponse(503).body("busy"));
  server.enqueue(part(600'000, whole));
  std::mutex mutex;
  std::vector<std::int64_t> told;

  const auto result = await<HTTPRetryResult<SaveFile::Response>>([&](auto done) {
    SaveFile{.url = server.url("/"), .place = here("a"), .resumes = true}.sendAttemptingRetry(
        {.queue = queue,
         .progress =
             [&](const HTTPProgress& progress) {
               const std::lock_guard lock(mutex);
               told.push_back(progress.completedBytes());
             }},
        done);
  });

  EXPECT_EQ(result.failCount(), 3);
  ASSERT_TRUE(result.lastResponse()->result.url()) << result.lastResponse()->result.error()->message();
  EXPECT_TRUE(files.read("a") == generatedBytes(whole));
  EXPECT_THAT(names(), SizeIs(1));
  (void)server.takeRequest();
  EXPECT_EQ(server.takeRequest().header("Range"), "bytes=300000-");
  EXPECT_EQ(server.takeRequest().header("Range"), "bytes=600000-");
  EXPECT_EQ(server.takeRequest().header("Range"), "bytes=600000-");
  const std::lock_guard lock(mutex);
  ASSERT_THAT(told, Not(IsEmpty()));
  EXPECT_EQ(told.back(), static_cast<std::int64_t>(whole));
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
}

TEST_F(SavedDownloadTest, stateItsPropertiesInAnyForm) {
  struct Optional : DownloadRequestable<Optional> {
    std::optional<HTTPDownloadDestination> destination;
    std::optional<SHA256Digest> expectedDigest;
    HTTPHeaders sharedHeaders() const { return {}; }
  };
  struct Plain : DownloadRequestable<Plain> {
    HTTPHeaders sharedHeaders() const { return {}; }
  };

  const Optional stated{.destination = {{.path = "a", .resumes = true}}, .expectedDigest = ofHello};
  EXPECT_EQ(stated.downloadOptions().destination->path, "a");
  EXPECT_TRUE(stated.downloadOptions().destination->resumes);
  EXPECT_EQ(stated.downloadOptions().expectedDigest, SHA256Digest(ofHello));
  EXPECT_FALSE(Optional().downloadOptions().destination);
  EXPECT_FALSE(Plain().downloadOptions().expectedDigest);
}

/// Beside a request that saves nothing, the name is free.
TEST_F(SavedDownloadTest, leavesTheNameToOtherRequests) {
  struct Journey : DataGetRequestable<Journey> {
    URL url;
    std::string destination = "Rome";
    HTTPHeaders sharedHeaders() const { return {}; }
  };
  server.enqueue(MockResponse(200).body("x"));

  EXPECT_FALSE(responseTo(Journey{.url = server.url("/")}).result.error());
}

}  // namespace
}  // namespace corvane
