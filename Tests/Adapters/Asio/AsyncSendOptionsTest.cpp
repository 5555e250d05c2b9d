#include <chrono>
#include <stop_token>
#include <vector>

#include "AsioFixture.hpp"

namespace corvane {
namespace {

using net::awaitable;
using net::use_awaitable;

class AsyncSendOptionsTest : public AsioTest {
 protected:
  std::string message;

  auto noting() {
    return [this](const std::exception_ptr& error, const auto&) { message = messageOf(error); };
  }
};

struct GetFile : DownloadRequestable<GetFile, Data> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Again : DataGetRequestable<Again>, HTTPRetryAttempting<Again> {
  URL url;
  static constexpr double retryInterval = 600;
  static constexpr std::int64_t retryLimit = 3;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(AsyncSendOptionsTest, endsAtTheDeadline) {
  async_send(context, get(), {.deadline = -1}, noting());

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, CFNetworkErrors(-1001).message());
}

TEST_F(AsyncSendOptionsTest, isCancelledByTheStopOfTheOptions) {
  holdResponses();
  std::stop_source stop;
  async_send(context, get(), {.stop = stop.get_token()}, noting());

  stop.request_stop();

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
}

TEST_F(AsyncSendOptionsTest, isCancelledByItsSlotToo) {
  holdResponses();
  std::stop_source stop;
  net::cancellation_signal signal;
  async_send(context, get(), {.stop = stop.get_token(), .deadline = std::chrono::hours(1)},
             net::bind_cancellation_slot(signal.slot(), noting()));

  signal.emit(net::cancellation_type::terminal);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
}

TEST_F(AsyncSendOptionsTest, tellsTheProgressOnTheExecutorOfTheHandler) {
  server.enqueue(MockResponse(200).text(std::string(300'000, 'x')));
  std::int64_t bytes = 0;
  bool isOver = false;

  async_send(context, GetFile{.url = server.url("/")},
             {.progress =
                  [&, runner = std::this_thread::get_id()](const HTTPProgress& progress) {
                    EXPECT_FALSE(isOver);
                    EXPECT_EQ(std::this_thread::get_id(), runner);
                    bytes = progress.completedBytes();
                  }},
             [&](const std::exception_ptr&, const HTTPResponse<Data>&) { isOver = true; });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_TRUE(isOver);
  EXPECT_EQ(bytes, 300'000);
}

TEST_F(AsyncSendOptionsTest, givesTheWholeResponseOfAFailure) {
  server.enqueue(MockResponse(404).text("nothing here"));
  std::string body;

  net::co_spawn(
      context,
      [&]() -> awaitable<void> {
        const DataResponse response = co_await async_send(get(), wholeResponse, use_awaitable);
        EXPECT_EQ(response.statusCode(), 404);
        EXPECT_FALSE(response.result);
        body = response.data->text();
      },
      net::detached);

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(body, "nothing here");
}

TEST_F(AsyncSendOptionsTest, givesTheWholeResponseWithOptions) {
  std::int64_t code = 0;

  async_send(context, get(), {.deadline = -1}, wholeResponse,
             [&](const std::exception_ptr& error, const DataResponse& response) {
               EXPECT_EQ(messageOf(error), "no error");
               code = response.result.error()->code();
             });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(code, -1001);
}

TEST_F(AsyncSendOptionsTest, failsWithoutAResponseWhenTheRequestShouldNotBeSent) {
  Get request = get();
  request.shouldSend = false;

  async_send(context, request, wholeResponse, noting());

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(message, cancelledMessage);
}

TEST_F(AsyncSendOptionsTest, boundsABatch) {
  std::vector<std::int64_t> codes;

  async_send(context, std::vector<Get>(3, get()), {.deadline = -1}, HTTPBatchMode::parallel(),
             [&](const std::exception_ptr&, const std::vector<DataResponse>& responses) {
               for (const auto& response : responses) codes.push_back(response.result.error()->code());
             });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_THAT(codes, ::testing::ElementsAre(-1001, -1001, -1001));
}

TEST_F(AsyncSendOptionsTest, boundsARetryingSendAndItsWaits) {
  server.enqueue(MockResponse(503));
  std::stop_source stop;
  std::int64_t failCount = 0;
  async_send_attempting_retry(context, Again{.url = server.url("/")}, {.stop = stop.get_token()},
                              [&](const std::exception_ptr&, const HTTPRetryResult<DataResponse>& result) {
                                failCount = result.failCount();
                                message = result.lastResponse()->result.error()->message();
                              });
  server.takeRequest();

  stop.request_stop();

  EXPECT_TRUE(runToTheEnd());
  EXPECT_GE(failCount, 1);
  EXPECT_EQ(message, cancelledMessage);
}

}  // namespace
}  // namespace corvane
