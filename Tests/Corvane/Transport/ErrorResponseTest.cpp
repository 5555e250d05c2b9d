#include <gtest/gtest.h>

#include <string>

#include "Corvane/Corvane.hpp"
#include "SendFixture.hpp"

// What an error says of the response that it came with, whichever way the outcome is awaited.

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

constexpr const char* problemText =
    R"({"type": "https://example.org/credit", "title": "Not enough credit", "status": 422, "balance": 30})";

MockResponse problem() {
  return MockResponse(422).contentType("application/problem+json").header("X-Trace", "7").body(problemText);
}

struct CreditProblem {
  std::string title;
  int balance;
};

struct Account {
  std::string owner;
};

struct GetAccount : JSONGetRequestable<GetAccount, Account> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

class ErrorResponseTest : public SendTest {
 protected:
  GetAccount getAccount() const { return GetAccount{.url = server.url("/account")}; }

  void expectProblem(const Error& error) const {
    ASSERT_NE(error.response(), nullptr);
    const HTTPErrorResponse& response = *error.response();
    EXPECT_EQ(response.statusCode(), 422);
    EXPECT_EQ(response.header("x-trace"), "7");
    EXPECT_EQ(response.url().absoluteString(), server.url("/account"));
    EXPECT_EQ(response.text(), problemText);
    EXPECT_EQ(response.urlResponse()->httpVersion(), "HTTP/1.1");
    const auto credit = decodeError<CreditProblem>(error);
    ASSERT_TRUE(credit);
    EXPECT_EQ(credit->balance, 30);
  }
};

TEST_F(ErrorResponseTest, isThereWhereACompletionIsCalled) {
  server.enqueue(problem());

  const auto response = await<JSONResponse<Account>>([&](auto done) { getAccount().send(queue, done); });

  ASSERT_NE(response.result.error(), nullptr);
  expectProblem(*response.result.error());
  EXPECT_EQ(response.statusCode(), 422);
  EXPECT_EQ(response.status, HTTPStatus::unknown);
  const auto details = response.decodeError<ProblemDetails>();
  ASSERT_TRUE(details);
  EXPECT_EQ(details->type, "https://example.org/credit");
  EXPECT_EQ(details->title, "Not enough credit");
  EXPECT_EQ(details->status, 422);
  EXPECT_EQ(details->detail, std::nullopt);
}

TEST_F(ErrorResponseTest, isThereWhereGetThrows) {
  server.enqueue(problem());

  try {
    getAccount().send().get();
    FAIL() << "no error";
  } catch (const Error& error) {
    expectProblem(error);
  }
}

TEST_F(ErrorResponseTest, isThereInTheResultOfAFuture) {
  server.enqueue(problem());

  const auto result = getAccount().send().result();

  ASSERT_NE(result.error(), nullptr);
  expectProblem(*result.error());
}

TEST_F(ErrorResponseTest, isThereWhereACoroutineAwaits) {
  server.enqueue(problem());
  const auto awaiting = [](GetAccount request) -> Task<std::string> {
    const auto response = co_await request.send();
    co_return response.body.owner;
  };

  const auto result = awaiting(getAccount()).result();

  ASSERT_NE(result.error(), nullptr);
  expectProblem(*result.error());
}

TEST_F(ErrorResponseTest, isThereWhereTheBodyDoesNotDecode) {
  server.enqueue(MockResponse(200).json(R"({"holder": "ada"})"));

  const auto result = getAccount().send().result();

  ASSERT_NE(result.error(), nullptr);
  ASSERT_NE(result.error()->response(), nullptr);
  EXPECT_EQ(result.error()->response()->statusCode(), 200);
  EXPECT_EQ(result.error()->response()->text(), R"({"holder": "ada"})");
}

struct Suspicious : DataGetRequestable<Suspicious> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const DataResponse&) const { throw std::runtime_error("not what it should be"); }
};

TEST_F(ErrorResponseTest, isThereWhereAHookRefusesTheResponse) {
  server.enqueue(MockResponse(200).text("strange"));

  const auto result = Suspicious{.url = server.url()}.send().result();

  ASSERT_NE(result.error(), nullptr);
  EXPECT_EQ(result.error()->message(), "not what it should be");
  ASSERT_NE(result.error()->response(), nullptr);
  EXPECT_EQ(result.error()->response()->text(), "strange");
}

TEST_F(ErrorResponseTest, isThereWhereNoContentIsAFailure) {
  server.enqueue(MockResponse(204));

  const auto result = DownloadGetRequest<Data>(server.url()).send().result();

  ASSERT_NE(result.error(), nullptr);
  EXPECT_EQ(result.error()->as<HTTPResponseError>()->which(), HTTPResponseError::Case::noContent);
  ASSERT_NE(result.error()->response(), nullptr);
  EXPECT_EQ(result.error()->response()->statusCode(), 204);
}

TEST_F(ErrorResponseTest, hasTheBodyOfAFailedDownload) {
  server.enqueue(problem());

  const auto result = DownloadGetRequest<URL>(server.url("/account")).send().result();

  ASSERT_NE(result.error(), nullptr);
  expectProblem(*result.error());
}

TEST_F(ErrorResponseTest, hasTheBeginningOfALongBodyOfAFailedDownload) {
  server.enqueue(MockResponse(500).body(std::string(100'000, 'a')));

  const auto result = DownloadGetRequest<URL>(server.url()).send().result();

  ASSERT_NE(result.error(), nullptr);
  ASSERT_NE(result.error()->response(), nullptr);
  EXPECT_EQ(result.error()->response()->body()->count(), 64u * 1024u);
}

TEST_F(ErrorResponseTest, isAbsentWithoutAResponse) {
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));

  const auto response = responseTo(get());

  ASSERT_NE(response.result.error(), nullptr);
  EXPECT_EQ(response.result.error()->response(), nullptr);
  EXPECT_EQ(response.statusCode(), std::nullopt);
  EXPECT_EQ(decodeError<ProblemDetails>(*response.result.error()), std::nullopt);
}

TEST_F(ErrorResponseTest, decodesToNothingWhereTheBodyIsAnotherThing) {
  server.enqueue(MockResponse(502).contentType("text/html").body("<h1>Bad gateway</h1>"));

  const auto response = responseTo(get());

  EXPECT_EQ(response.decodeError<ProblemDetails>(), std::nullopt);
  EXPECT_EQ(response.result.error()->response()->text(), "<h1>Bad gateway</h1>");
}

struct MockedGet : DataGetRequestable<MockedGet>, HTTPMockable<MockedGet> {
  URL url = "http://h/mocked";
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPStatus mockStatus = HTTPStatus::conflict;
  std::optional<Data> mockResponseData() const { return Data("taken"); }
};

TEST_F(ErrorResponseTest, isThereForAMock) {
  const auto result = MockedGet().send().result();

  ASSERT_NE(result.error(), nullptr);
  ASSERT_NE(result.error()->response(), nullptr);
  EXPECT_EQ(result.error()->response()->statusCode(), 409);
  EXPECT_EQ(result.error()->response()->text(), "taken");
}

}  // namespace
}  // namespace corvane
