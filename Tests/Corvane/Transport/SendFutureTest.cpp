#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "SendFixture.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::MockResponse;

TEST_F(SendTest, completesAFutureWithBodyAndFacts) {
  server.enqueue(MockResponse(200).text("hello"));

  const auto response = get().send().get();

  EXPECT_EQ(response.body.text(), "hello");
  EXPECT_EQ(response.data->text(), "hello");
  EXPECT_EQ(response.status, HTTPStatus::success);
  EXPECT_EQ(response.urlResponse, nullptr);
}

TEST_F(SendTest, failsAFutureWithTheErrorOfTheResponse) {
  server.enqueue(MockResponse(500));

  try {
    get().send().get();
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.message(), "HTTPStatus: internalServerError:500 is unacceptable");
  }
}

/// Has neither error nor body when nothing was received.
struct MaybeBody {
  using Body = Data;
  std::optional<Data> payload;
  const Data* body() const { return payload && !payload->isEmpty() ? &*payload : nullptr; }
  const Error* error() const { return nullptr; }
};
struct MaybeResponse : DataResponse {
  using Result = MaybeBody;
  MaybeResponse(std::optional<Data> bytes, std::optional<URL> file, std::shared_ptr<const URLResponse> response,
                std::optional<Error> error)
      : DataResponse(bytes, file, response, error), result{bytes} {}
  MaybeBody result;
};
struct MaybeGet : HTTPGetRequestable<MaybeGet, MaybeResponse> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(SendTest, failsAFutureWithoutErrorOrBody) {
  server.enqueue(MockResponse(204));

  const auto result = MaybeGet{.url = server.url("/")}.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<HTTPResponseError>(), HTTPResponseError::noContent());
}

TEST_F(SendTest, completesAFutureOnTheQueueItWasMadeOn) {
  server.enqueue(MockResponse(200));
  const bool isOnQueue = await<bool>([&](auto done) {
    queue.async([=, this] { get().send().whenCompleted(queue, [=, this](const auto&) { done(queue.isCurrent()); }); });
  });

  EXPECT_TRUE(isOnQueue);
}

TEST(SendDeathTest, trapsWhenAQueueWaitsForItself) {
  const DispatchQueue queue("SendDeathTest");

  EXPECT_DEATH(queue.sync([] { DataGetRequest("/").send().wait(); }), "");
}

velisand::Task<std::string> textOf(Get request) { co_return (co_await request.send()).body.text(); }

TEST_F(SendTest, canBeAwaited) {
  server.enqueue(MockResponse(200).text("awaited"));

  EXPECT_EQ(textOf(get()).get(), "awaited");
}

}  // namespace
}  // namespace corvane
