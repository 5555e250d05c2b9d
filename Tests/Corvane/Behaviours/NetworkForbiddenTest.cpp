#include <filesystem>

#include "CorvaneTesting/TestServer.hpp"
#include "MockFixture.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::MockResponse;

/// The network is forbidden, and there is a server.
class NetworkForbiddenTest : public MockTest {
 protected:
  ~NetworkForbiddenTest() override { Corvane::resetSessions(); }

  template <class Request>
  void expectRefused(const Request& request, const char* method) {
    const auto response = responseTo(request);

    ASSERT_TRUE(response.result.error());
    const auto* error = response.result.error()->template as<HTTPNetworkForbiddenError>();
    ASSERT_TRUE(error) << response.result.error()->message();
    EXPECT_EQ(error->method(), method);
    EXPECT_EQ(error->url(), URL(server.url("/secret?q=1")));
    EXPECT_EQ(error->message(), std::string("network forbidden: ") + method + " " + server.url("/secret?q=1"));
    EXPECT_EQ(server.connectionCount(), 0);
  }
  URL target() const { return server.url("/secret?q=1"); }

  testkit::TestServer server;
};

TEST_F(NetworkForbiddenTest, refusesDataRequests) {
  expectRefused(DataGetRequest(target()), "GET");
  expectRefused(DataPostRequest(target(), Data("x")), "POST");
  expectRefused(DataDeleteRequest(target()), "DELETE");
}

TEST_F(NetworkForbiddenTest, refusesDownloads) { expectRefused(DownloadGetRequest(target()), "GET"); }

TEST_F(NetworkForbiddenTest, refusesUploads) {
  expectRefused(DataUploadRequest(target(), Data("x")), "POST");
  expectRefused(FileUploadRequest(target(), URL::file("/proc/self/exe")), "POST");
}

TEST_F(NetworkForbiddenTest, failsAFuture) {
  const auto result = DataGetRequest(target()).send().result();

  ASSERT_TRUE(result.error());
  EXPECT_TRUE(result.error()->as<HTTPNetworkForbiddenError>());
}

TEST_F(NetworkForbiddenTest, tellsWhatTheRequestIsInItsLogInformation) {
  const HTTPNetworkForbiddenError error("PUT", "http://example.com/a");

  EXPECT_EQ(error.errorDomain(), "Corvane.HTTPNetworkForbiddenError");
  const auto info = error.additionalLogInfo();
  ASSERT_TRUE(info);
  EXPECT_EQ(*info->find("method")->text(), "PUT");
  EXPECT_EQ(*info->find("url")->text(), "http://example.com/a");
}

TEST_F(NetworkForbiddenTest, leavesMocksAlone) { EXPECT_EQ(responseTo(PlainMock()).status, HTTPStatus::success); }

TEST_F(NetworkForbiddenTest, leavesFilesAlone) {
  const testkit::TemporaryDirectory files;
  const URL file = URL::file(files.write("a.txt", "here"));

  const auto loaded =
      await<DownloadResponse<std::string>>([&](auto done) { DownloadGetRequest<std::string>(file).send(queue, done); });

  EXPECT_FALSE(loaded.result.error() && loaded.result.error()->as<HTTPNetworkForbiddenError>());
  EXPECT_TRUE(std::filesystem::exists(file.fileSystemPath()));
}

TEST_F(NetworkForbiddenTest, isForbiddenOnlyForAsLongAsItIs) {
  server.enqueue(MockResponse(200).text("hello"));

  Corvane::isNetworkForbidden = false;

  EXPECT_EQ(responseTo(DataGetRequest(target())).data->text(), "hello");
}

TEST(NetworkAllowedTest, isAllowedAtFirst) { EXPECT_FALSE(Corvane::isNetworkForbidden); }

}  // namespace
}  // namespace corvane
