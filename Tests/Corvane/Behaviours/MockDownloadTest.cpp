#include <filesystem>

#include "../Transfers/TransferFixture.hpp"
#include "MockFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr const char* namedByUUID = "[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}\\.tmp";

template <class Download>
struct Fetch : DownloadRequestable<Fetch<Download>, Download>, HTTPMockable<Fetch<Download>> {
  std::optional<Data> mockResponseData = Data("content");
  HTTPStatus mockStatus = HTTPStatus::success;
  std::optional<Error> mockError = std::nullopt;
  URL mockURL = "https://example.com/manual.pdf";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class MockDownloadTest : public MockTest {
 protected:
  // Made before the other becomes the system's, so that it is not in it.
  testkit::TemporaryDirectory elsewhere;
  OwnTemporaryDirectory temporary;
};

TEST_F(MockDownloadTest, writesItsDataToAFreshFile) {
  const auto response = responseTo(Fetch<URL>());

  ASSERT_TRUE(response.result.body());
  const std::filesystem::path file = response.result.body()->fileSystemPath();
  EXPECT_EQ(file.parent_path(), temporary.path());
  EXPECT_THAT(file.filename().string(), MatchesRegex(namedByUUID));
  EXPECT_EQ(platform::FileManager::contents(file.string()).text(), "content");
  EXPECT_EQ(response.url, URL("https://example.com/manual.pdf"));
}

TEST_F(MockDownloadTest, writesAnotherFileEachTime) {
  const auto first = responseTo(Fetch<URL>());
  const auto second = responseTo(Fetch<URL>());

  EXPECT_NE(first.result.body()->fileSystemPath(), second.result.body()->fileSystemPath());
  EXPECT_EQ(temporary.names().size(), 2u);
}

TEST_F(MockDownloadTest, writesAnEmptyFileForNoBytes) {
  const auto response = responseTo(Fetch<URL>{.mockResponseData = Data()});

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(platform::FileManager::contents(response.result.body()->fileSystemPath()).count(), 0u);
}

TEST_F(MockDownloadTest, removesTheFileOnceItsContentWasRead) {
  const auto response = responseTo(Fetch<std::string>());

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(*response.result.body(), "content");
  EXPECT_THAT(temporary.names(), IsEmpty());
}

TEST_F(MockDownloadTest, removesTheFileThatNobodyIsGiven) {
  const auto refused = responseTo(Fetch<URL>{.mockStatus = HTTPStatus::forbidden});
  const auto failed = responseTo(Fetch<URL>{.mockError = Error("D", 3, "no route")});

  EXPECT_EQ(*reasonOf(refused), HTTPResponseError::unacceptableStatus(HTTPStatus::forbidden));
  EXPECT_EQ(failed.result.error()->message(), "no route");
  EXPECT_THAT(temporary.names(), IsEmpty());
}

TEST_F(MockDownloadTest, writesNoFileWithoutData) {
  const URL file = URL::file(elsewhere.write("bundled", "there already"));

  const auto response = responseTo(Fetch<std::string>{.mockResponseData = std::nullopt, .mockURL = file});

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(*response.result.body(), "there already");
  EXPECT_EQ(elsewhere.read("bundled"), "there already");
  EXPECT_THAT(temporary.names(), IsEmpty());
}

TEST_F(MockDownloadTest, tellsOfNoProgress) {
  int told = 0;
  const auto response = await<DownloadResponse<std::string>>(
      [&](auto done) { Fetch<std::string>().send(queue, [&](const HTTPProgress&) { ++told; }, done); });

  EXPECT_TRUE(response.result.body());
  EXPECT_EQ(told, 0);
}

TEST_F(MockDownloadTest, completesAFuture) { EXPECT_EQ(Fetch<std::string>().send().get().body, "content"); }

/// Has a response for tests.
struct FetchForTests : DownloadRequestable<FetchForTests, std::string>, HTTPTestMockable<FetchForTests> {
  Data mockResponseData = "mock";
  Data testResponseData = "test";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockDownloadTest, hasAResponseForTests) {
  const auto mock = await<DownloadResponse<std::string>>([&](auto done) { FetchForTests().mock(queue, done); });

  EXPECT_EQ(*responseTo(FetchForTests()).result.body(), "test");
  EXPECT_EQ(*mock.result.body(), "mock");
  EXPECT_THAT(temporary.names(), IsEmpty());
}

class MockDownloadDeathTest : public ::testing::Test {};

TEST_F(MockDownloadDeathTest, trapsWhenTheFileCannotBeWritten) {
  EXPECT_DEATH(
      {
        OwnTemporaryDirectory::pointTo("/proc/self/no-such-directory");
        (void)Fetch<URL>().send().result();
      },
      "The file of a mock cannot be written: .*no-such-directory");
}

}  // namespace
}  // namespace corvane
