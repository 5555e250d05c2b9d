#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "CorvaneTesting/Latch.hpp"
#include "SendFixture.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

constexpr platform::Seconds patience(20);

struct User {
  std::string login;
};

class WholeResponseTest : public SendTest {
 protected:
  ~WholeResponseTest() override { latch.open(); }

  template <class Request>
  static auto responseOf(const Future<Request>& future) {
    EXPECT_TRUE(future.wait(patience));
    return future.get();
  }

  const Latch latch;
};

TEST_F(WholeResponseTest, isTheResponseOfASuccess) {
  server.enqueue(MockResponse(201).text("made"));

  const Future<DataResponse> future = get().send(wholeResponse);
  const DataResponse response = future.get();

  EXPECT_EQ(response.status, HTTPStatus::created);
  EXPECT_EQ(response.result.body()->text(), "made");
  EXPECT_NE(response.urlResponse, nullptr);
}

TEST_F(WholeResponseTest, isTheResponseOfAFailureToo) {
  server.enqueue(MockResponse(404).header("X-Reason", "gone").text("nothing here"));

  const DataResponse response = get().send(wholeResponse).get();

  EXPECT_EQ(response.statusCode(), 404);
  EXPECT_EQ(response.headers->value("X-Reason"), "gone");
  EXPECT_EQ(response.data->text(), "nothing here");
  EXPECT_EQ(*responseError(response), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
}

TEST_F(WholeResponseTest, tellsThatThereWasNoResponse) {
  server.enqueue(MockResponse(200).dropConnection(Moment::beforeStatusLine));

  const DataResponse response = get().send(wholeResponse).get();

  EXPECT_EQ(response.urlResponse, nullptr);
  EXPECT_TRUE(response.result.error()->is<CFNetworkErrors>());
}

TEST_F(WholeResponseTest, isOfAModel) {
  server.enqueue(MockResponse(200).json(R"({"login": "ada"})"));
  server.enqueue(MockResponse(200).json(R"({"name": "ada"})"));
  const JSONGetRequest<User> request(server.url("/"));

  const JSONResponse<User> decoded = request.send(wholeResponse).get();
  const JSONResponse<User> refused = request.send(wholeResponse).get();

  EXPECT_EQ(decoded.result.body()->login, "ada");
  EXPECT_EQ(refused.data->text(), R"({"name": "ada"})");
  EXPECT_TRUE(refused.result.error()->is<HTTPResponseError>());
}

TEST_F(WholeResponseTest, isOfADownloadWithItsProgress) {
  server.enqueue(MockResponse(200).text(std::string(100'000, 'x')));
  server.enqueue(MockResponse(503));
  const DownloadGetRequest<> request(server.url("/file"));
  std::int64_t bytes = 0;
  const SendOptions options{.queue = queue,
                            .progress = [&](const HTTPProgress& progress) { bytes = progress.completedBytes(); }};

  const auto done = responseOf(request.send(options, wholeResponse));
  const auto refused = responseOf(request.send(wholeResponse));

  ASSERT_TRUE(done.result);
  EXPECT_EQ(std::filesystem::file_size(done.result.body()->fileSystemPath()), 100'000U);
  std::filesystem::remove_all(std::filesystem::path(done.result.body()->fileSystemPath()).parent_path());
  EXPECT_EQ(queue.sync([&] { return bytes; }), 100'000);
  EXPECT_EQ(refused.statusCode(), 503);
}

TEST_F(WholeResponseTest, isOfAnUpload) {
  server.enqueue(MockResponse(409));

  const auto response = responseOf(DataUploadRequest(server.url("/"), "bytes").send(wholeResponse));

  EXPECT_EQ(server.takeRequest().body, "bytes");
  EXPECT_EQ(response.statusCode(), 409);
}

TEST_F(WholeResponseTest, hasTheCancellationInItsResult) {
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  const auto future = get().send(wholeResponse);

  future.cancel();

  EXPECT_EQ(*responseError(responseOf(future)), HTTPResponseError::taskCancelled());
}

TEST_F(WholeResponseTest, staysWithinTheOptions) {
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  std::stop_source stop;
  const auto future = get().send({.stop = stop.get_token()}, wholeResponse);
  const auto late = get().send({.deadline = -1}, wholeResponse);

  stop.request_stop();

  EXPECT_EQ(*responseError(responseOf(future)), HTTPResponseError::taskCancelled());
  EXPECT_EQ(responseOf(late).result.error()->code(), -1001);
}

Task<int> statusOf(Get request) { co_return (co_await request.send(wholeResponse)).statusCode().value_or(0); }

TEST_F(WholeResponseTest, isAwaited) {
  server.enqueue(MockResponse(500));

  EXPECT_EQ(statusOf(get()).get(), 500);
}

/// Adds a header field on the way.
struct OwnSend : DataGetRequestable<OwnSend> {
  URL url;
  HTTPHeaders headers = {};
  HTTPHeaders sharedHeaders() const { return {}; }

  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    OwnSend request = *this;
    request.headers.set("X-Own", "1");
    request.sendToNetwork(std::move(queue), std::move(completion));
  }
};

TEST_F(WholeResponseTest, goesByASendOfTheTypesOwn) {
  server.enqueue(MockResponse(403));

  const auto response = responseOf(OwnSend{.url = server.url("/")}.send(wholeResponse));

  EXPECT_EQ(server.takeRequest().header("X-Own"), "1");
  EXPECT_EQ(response.statusCode(), 403);
}

struct Mocked : DataGetRequestable<Mocked>, HTTPMockable<Mocked> {
  HTTPHeaders sharedHeaders() const { return {}; }
  URL url = "https://example.com";
  HTTPStatus mockStatus = HTTPStatus::notFound;
};

TEST_F(WholeResponseTest, isThatOfAMock) {
  EXPECT_EQ(responseOf(Mocked().send(wholeResponse)).status, HTTPStatus::notFound);
}

TEST_F(WholeResponseTest, staysOpenForARequestThatShouldNotBeSent) {
  Get request = get();
  request.shouldSend = false;

  EXPECT_FALSE(request.send(wholeResponse).isCompleted());
}

}  // namespace
}  // namespace corvane
