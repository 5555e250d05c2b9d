#include <gtest/gtest.h>

#include <filesystem>

#include "Corvane/Corvane.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "SendFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

constexpr platform::Seconds patience(10);

struct Token : DataGetRequestable<Token> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Asks for a token first, on another thread, and passes its completion on.
struct AuthorizedGet : DataGetRequestable<AuthorizedGet> {
  URL url;
  HTTPHeaders headers = {};
  HTTPHeaders sharedHeaders() const { return {}; }

  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    DispatchQueue::global().async([request = *this, queue = std::move(queue),
                                   completion = std::move(completion)]() mutable {
      const auto options = completion.options(queue);
      Token{.url = request.url}.send(options, [request, queue = std::move(queue),
                                               completion = std::move(completion)](const DataResponse& token) mutable {
        if (token.data) request.headers.set("Authorization", token.data->text());
        request.sendToNetwork(std::move(queue), std::move(completion));
      });
    });
  }
};

/// Wraps its completion, and so leaves the options behind unless it takes them along.
struct WrappingGet : DataGetRequestable<WrappingGet> {
  URL url;
  bool takesOptionsAlong = false;
  HTTPHeaders sharedHeaders() const { return {}; }

  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    if (takesOptionsAlong) {
      sendToNetwork(std::move(queue), std::move(completion).wrapping([](Completion& inner, DataResponse response) {
        inner(std::move(response));
      }));
    } else {
      sendToNetwork(std::move(queue), [completion = std::move(completion)](DataResponse response) mutable {
        completion(std::move(response));
      });
    }
  }
};

/// Takes the options themselves.
struct OptionsGet : DataGetRequestable<OptionsGet>, HTTPRetryAttempting<OptionsGet>, HTTPMockable<OptionsGet> {
  URL url = "http://127.0.0.1/";
  Expectation<SendOptions> seen = {};
  double retryInterval = 1;
  std::int64_t retryLimit = -1;
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data("mock"); }

  using HTTPRequestable::send;
  void send(SendOptions options, Completion completion) const {
    seen(options);
    HTTPRequestable::send(std::move(options), std::move(completion));
  }
};

/// Calls its completion never.
struct SilentGet : DataGetRequestable<SilentGet> {
  Expectation<Completion*> kept = {};
  std::shared_ptr<Completion> completion = std::make_shared<Completion>();
  HTTPHeaders sharedHeaders() const { return {}; }

  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue>, Completion given) const {
    *completion = std::move(given);
    kept(completion.get());
  }
};

/// One that needs no `using`.
struct HidingGet : DataGetRequestable<HidingGet> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    sendToNetwork(std::move(queue), std::move(completion));
  }
};

struct OwnDownload : DownloadRequestable<OwnDownload> {
  URL url;
  Expectation<bool> hadProgress = {};
  HTTPHeaders sharedHeaders() const { return {}; }

  using TransferRequestable::send;
  void send(std::optional<DispatchQueue> queue, HTTPProgressHandler progress, Completion completion) const {
    hadProgress(static_cast<bool>(progress));
    sendToNetwork(std::move(queue), std::move(progress), std::move(completion));
  }
};

static_assert(!detail::SendsWithOptions<Token> && !detail::sendsByItself<Token>);
static_assert(!detail::SendsWithOptions<AuthorizedGet> && detail::sendsByItself<AuthorizedGet>);
static_assert(detail::SendsWithOptions<OptionsGet> && !detail::sendsByItself<OptionsGet>);
static_assert(!detail::SendsWithOptions<HidingGet> && detail::sendsByItself<HidingGet>);
static_assert(!detail::SendsWithOptions<OwnDownload> && detail::sendsByItself<OwnDownload>);
static_assert(!detail::SendsWithOptions<DownloadGetRequest<>> && !detail::sendsByItself<DownloadGetRequest<>>);

bool wasCancelled(const DataResponse& response) {
  const auto* error = responseError(response);
  return error && *error == HTTPResponseError::taskCancelled();
}

class OwnSendTest : public SendTest {
 protected:
  void TearDown() override { latch.open(); }

  const Latch latch;
  std::stop_source stop;
};

TEST_F(OwnSendTest, takesTheStopAlongWithItsCompletion) {
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  Expectation<DataResponse> completion;
  AuthorizedGet{.url = server.url("/")}.send({.queue = queue, .stop = stop.get_token()}, completion);
  server.takeRequest();

  stop.request_stop();

  EXPECT_TRUE(wasCancelled(completion.wait()));
}

TEST_F(OwnSendTest, passesTheStopToWhatItSendsNext) {
  server.enqueue(MockResponse(200).text("token"));
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  const auto future = AuthorizedGet{.url = server.url("/")}.send();
  server.takeRequest();
  EXPECT_EQ(server.takeRequest().header("Authorization"), "token");

  future.cancel();

  ASSERT_TRUE(future.wait(patience));
  EXPECT_EQ(future.result().error()->message(), HTTPResponseError::taskCancelled().message());
}

TEST_F(OwnSendTest, endsAtOnceWhereTheStopDoesNotReach) {
  Expectation<DataResponse> completion;
  const SilentGet request;
  request.send({.queue = queue, .stop = stop.get_token()}, completion);

  stop.request_stop();
  EXPECT_TRUE(wasCancelled(completion.wait()));

  (*request.kept.wait())(DataResponse(Data("late"), std::nullopt, nullptr, std::nullopt));
  queue.sync([] {});
  EXPECT_EQ(completion.count(), 1U);
}

TEST_F(OwnSendTest, takesTheOptionsAlongInAWrappedCompletion) {
  for (const bool takesOptionsAlong : {true, false}) {
    server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
    const auto future = WrappingGet{.url = server.url("/"), .takesOptionsAlong = takesOptionsAlong}.send();
    server.takeRequest();

    future.cancel();

    ASSERT_TRUE(future.wait(patience));
    EXPECT_EQ(future.result().error()->message(), HTTPResponseError::taskCancelled().message());
  }
}

TEST_F(OwnSendTest, deliversAResponseByItsOwnRoute) {
  server.enqueue(MockResponse(200).text("wrapped"));

  EXPECT_EQ((WrappingGet{.url = server.url("/")}.send({.stop = stop.get_token()}).get().body.text()), "wrapped");
}

TEST_F(OwnSendTest, takesAllFormsThroughTheOneWithOptions) {
  const OptionsGet request;
  const auto seen = [&](std::size_t number) { return request.seen.waitForAll(number).back(); };

  request.send({.queue = queue, .stop = stop.get_token()}, [](const DataResponse&) {});
  EXPECT_EQ(seen(1).stop, stop.get_token());
  request.send(queue, [](const DataResponse&) {});
  EXPECT_EQ(seen(2).queue, queue);
  testkit::awaitOnMain<DataResponse>([&](auto done) { request.send(done); });
  EXPECT_EQ(seen(3).queue, DispatchQueue::main());
  EXPECT_EQ(request.send({.deadline = 3600}).get().body.text(), "mock");
  EXPECT_TRUE(seen(4).deadline);
  EXPECT_EQ(request.sendAttemptingRetry().get().successfulResponse()->data->text(), "mock");
  EXPECT_EQ(seen(5).queue->label(), "org.corvane.HTTPRetryAttempting.queue");
}

TEST_F(OwnSendTest, isGivenTheProgressOfATransfer) {
  server.enqueue(MockResponse(200).text("file"));
  const OwnDownload request{.url = server.url("/file")};

  const auto response = testkit::await<DownloadResponse<URL>>(
      [&](auto done) { request.send({.queue = queue, .progress = [](const HTTPProgress&) {}}, done); });

  EXPECT_TRUE(request.hadProgress.wait());
  ASSERT_TRUE(response.result);
  std::filesystem::remove_all(std::filesystem::path(response.result.body()->path()).parent_path());
}

}  // namespace
}  // namespace corvane
