#include <chrono>

#include "MockFixture.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;

/// Says all of its mock, and nothing of its response for tests.
struct UntoldTest : DataGetRequestable<UntoldTest>, HTTPTestMockable<UntoldTest> {
  URL mockURL = "https://mock.example.com/";
  HTTPHeaders mockHeaders = {{"X-Mock", "1"}};
  HTTPStatus mockStatus = HTTPStatus::created;
  int mockResponseTime = 2;
  std::int64_t mockExpectedContentLength = 5;
  std::string mockSuggestedFilename = "mock.txt";
  std::string mockMimeType = "text/x-mock";
  std::string mockTextEncodingName = "ascii";
  std::optional<Error> mockError;
  Data mockResponseData = "mock";
  HTTPHeaders sharedHeaders() const { return {}; }
};

void expectTheMockOf(const UntoldTest& request, const DataResponse& response) {
  EXPECT_EQ(response.url, request.mockURL);
  EXPECT_EQ(response.headers->value("X-Mock"), "1");
  EXPECT_EQ(response.status, HTTPStatus::created);
  EXPECT_EQ(response.expectedContentLength, 5);
  EXPECT_EQ(response.suggestedFilename, "mock.txt");
  EXPECT_EQ(response.mimeType, "text/x-mock");
  EXPECT_EQ(response.textEncodingName, "ascii");
  EXPECT_EQ(response.data->text(), "mock");
}

class TestMockTest : public MockTest {
 protected:
  platform::detail::ManualClock clock;
};

TEST_F(TestMockTest, answersLikeItsMockWithoutFurtherWords) {
  Expectation<DataResponse> completion;
  const UntoldTest request;

  request.send(queue, completion);
  clock.advance(1.999);
  settle();
  EXPECT_FALSE(completion.isFulfilled());
  clock.advance(0.001);

  expectTheMockOf(request, completion.wait());
  EXPECT_EQ(completion.wait().result.error(), nullptr);
}

TEST_F(TestMockTest, failsLikeItsMockWithoutFurtherWords) {
  Expectation<DataResponse> completions;
  UntoldTest request;

  request.mockError = Error("D", 3, "no route");
  request.send(queue, completions);
  request.mockError.reset();
  request.mockStatus = HTTPStatus::gone;
  request.send(queue, completions);
  clock.advance(2);

  const auto responses = completions.waitForAll(2);
  EXPECT_EQ(responses[0].result.error()->message(), "no route");
  EXPECT_EQ(*reasonOf(responses[1]), HTTPResponseError::unacceptableStatus(HTTPStatus::gone));
}

/// Says all twice.
struct ToldTest : DataGetRequestable<ToldTest>, HTTPTestMockable<ToldTest> {
  URL mockURL = "https://mock.example.com/";
  URL testURL = "https://test.example.com/";
  HTTPHeaders mockHeaders = {{"X-Mock", "1"}};
  static HTTPHeaders testHeaders() { return {{"X-Test", "1"}}; }
  HTTPStatus mockStatus = HTTPStatus::internalServerError;
  HTTPStatus testStatus = HTTPStatus::accepted;
  double mockResponseTime = 60;
  double testResponseTime = 3;
  static constexpr int mockExpectedContentLength = 5;
  static constexpr int testExpectedContentLength = 6;
  std::string mockSuggestedFilename = "mock.txt";
  std::string testSuggestedFilename = "test.txt";
  std::string mockMimeType = "text/x-mock";
  std::string testMimeType = "text/x-test";
  std::string mockTextEncodingName = "ascii";
  std::string testTextEncodingName = "utf-8";
  std::optional<Error> mockError = Error("D", 1, "mock");
  std::optional<Error> testError;
  Data mockResponseData = "mock";
  Data testResponseData() const { return "test"; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(TestMockTest, saysWhatItNamesForTests) {
  Expectation<DataResponse> completion;

  ToldTest().send(queue, completion);
  clock.advance(3);

  const auto response = completion.wait();
  EXPECT_EQ(response.url, URL("https://test.example.com/"));
  EXPECT_EQ(response.headers->value("X-Test"), "1");
  EXPECT_EQ(response.headers->value("X-Mock"), std::nullopt);
  EXPECT_EQ(response.status, HTTPStatus::accepted);
  EXPECT_EQ(response.expectedContentLength, 6);
  EXPECT_EQ(response.suggestedFilename, "test.txt");
  EXPECT_EQ(response.mimeType, "text/x-test");
  EXPECT_EQ(response.textEncodingName, "utf-8");
  EXPECT_EQ(response.result.error(), nullptr);
  EXPECT_EQ(response.data->text(), "test");
}

TEST_F(TestMockTest, stillHasItsMock) {
  Expectation<DataResponse> completion;

  ToldTest().mock(queue, completion);
  clock.advance(59);
  settle();
  EXPECT_FALSE(completion.isFulfilled());
  clock.advance(1);

  const auto response = completion.wait();
  EXPECT_EQ(response.url, URL("https://mock.example.com/"));
  EXPECT_EQ(response.headers->value("X-Mock"), "1");
  EXPECT_EQ(response.status, HTTPStatus::internalServerError);
  EXPECT_EQ(response.result.error()->message(), "mock");
  EXPECT_EQ(response.data->text(), "mock");
}

TEST_F(TestMockTest, isCalledByItsName) {
  Expectation<DataResponse> completion;

  ToldTest().test(queue, completion);
  clock.advance(3);

  EXPECT_EQ(completion.wait().data->text(), "test");
}

TEST_F(TestMockTest, prefersTheErrorForTests) {
  const ToldTest request{.testError = Error("D", 2, "test")};

  EXPECT_EQ(request.testComputedError()->message(), "test");
  EXPECT_EQ(request.mockComputedError()->message(), "mock");
}

TEST_F(TestMockTest, judgesTheStatusForTests) {
  const ToldTest request{.testStatus = HTTPStatus::conflict};

  EXPECT_EQ(*request.testComputedError()->as<HTTPResponseError>(),
            HTTPResponseError::unacceptableStatus(HTTPStatus::conflict));
  EXPECT_EQ(request.testURLResponse()->statusCode(), 409);
}

/// Waits a computed time, and says it in milliseconds.
struct PatientTest : DataGetRequestable<PatientTest>, HTTPTestMockable<PatientTest> {
  std::chrono::milliseconds mockResponseTime{1500};
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(TestMockTest, takesTheTimeOfItsMockInWhateverUnit) { EXPECT_EQ(PatientTest().testResponseTime(), 1.5); }

}  // namespace
}  // namespace corvane
