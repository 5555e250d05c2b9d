#include "StreamFixture.hpp"

/// Streams of requests that respond themselves.
namespace corvane {
namespace {

struct MockedFeed : DataGetRequestable<MockedFeed>,
                    HTTPStreaming<MockedFeed>,
                    HTTPRequestCancelable<MockedFeed>,
                    HTTPMockable<MockedFeed> {
  URL url = "https://example.com/feed";
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPHeaders mockHeaders() const { return {{"X-A", "1"}}; }
  HTTPStatus mockStatus = HTTPStatus::success;
  std::optional<Data> mockResponseData = testkit::generatedBytes(150'000);
  double mockResponseTime = 0;
};

struct TestedFeed : DataGetRequestable<TestedFeed>, HTTPStreaming<TestedFeed>, HTTPTestMockable<TestedFeed> {
  URL url = "https://example.com/feed";
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data("mock"); }
  std::optional<Data> testResponseData() const { return Data("test"); }
};

class StreamMockTest : public StreamTest {};

TEST_F(StreamMockTest, handsOverTheMockInPieces) {
  const auto outcome = streamed(MockedFeed());

  EXPECT_EQ(outcome.message(), "");
  EXPECT_EQ(outcome.pieces.size(), 3U);
  EXPECT_EQ(outcome.body(), testkit::generatedBytes(150'000));
  EXPECT_EQ(outcome.response.headers->value("X-A"), "1");
  EXPECT_FALSE(outcome.response.data);
}

TEST_F(StreamMockTest, givesTheMockInPieces) {
  auto stream = MockedFeed().stream();

  EXPECT_EQ(stream.head().get().headers->value("X-A"), "1");
  EXPECT_EQ(bodyOf(stream), testkit::generatedBytes(150'000));
}

TEST_F(StreamMockTest, failsAsTheMockSays) {
  MockedFeed request;
  request.mockStatus = HTTPStatus::notFound;
  request.mockResponseData = Data("nothing here");

  const auto outcome = streamed(request);

  ASSERT_TRUE(responseError(outcome.error()));
  EXPECT_EQ(*responseError(outcome.error()), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_EQ(outcome.error()->response()->text(), "nothing here");
  EXPECT_TRUE(outcome.pieces.empty());
}

TEST_F(StreamMockTest, isCancelledWhileItIsDelayed) {
  MockedFeed request;
  request.mockResponseTime = 1000;
  auto stream = request.stream();
  const auto next = stream.next();

  request.cancel();

  EXPECT_EQ(responseError(next.result().error())->which(), HTTPResponseError::Case::taskCancelled);
}

TEST_F(StreamMockTest, mayBeLeftInTheMiddle) {
  auto stream = MockedFeed().stream();

  EXPECT_TRUE(stream.next().get());
}

TEST_F(StreamMockTest, isCancelledInTheMiddle) {
  auto stream = MockedFeed().stream();
  EXPECT_TRUE(stream.next().get());

  stream.cancel();

  EXPECT_TRUE(thrownBy([&] { stream.next().get(); }).is<HTTPResponseError>());
}

TEST_F(StreamMockTest, takesTheResponseForTests) { EXPECT_EQ(streamed(TestedFeed()).body(), "test"); }

}  // namespace
}  // namespace corvane
