#include <chrono>

#include "MockFixture.hpp"

namespace corvane {
namespace {

const Error noRoute("D", 3, "no route");

TEST_F(MockTest, answersWithoutFurtherWords) {
  const auto response = responseTo(PlainMock());

  EXPECT_EQ(response.status, HTTPStatus::success);
  EXPECT_EQ(response.result.error(), nullptr);
  EXPECT_EQ(response.result.body(), nullptr);
  EXPECT_EQ(response.data, std::nullopt);
  EXPECT_EQ(response.url, URL("https://api.example.com/users/ada"));
}

TEST_F(MockTest, hasADefaultForEachRequirement) {
  const PlainMock request;

  EXPECT_EQ(request.mockURL(), URL("https://api.example.com/users/ada"));
  ASSERT_TRUE(request.mockHeaders());
  const HTTPHeaders headers = *request.mockHeaders();
  for (const auto& [name, value] : headers) EXPECT_TRUE(value.text()) << name;
  EXPECT_EQ(request.mockHeaders()->count(), 2u);
  EXPECT_EQ(request.mockStatus(), HTTPStatus::success);
  EXPECT_EQ(request.mockResponseTime(), 0);
  EXPECT_EQ(request.mockExpectedContentLength(), std::nullopt);
  EXPECT_EQ(request.mockSuggestedFilename(), std::nullopt);
  EXPECT_EQ(request.mockMimeType(), std::nullopt);
  EXPECT_EQ(request.mockTextEncodingName(), std::nullopt);
  EXPECT_FALSE(request.mockError());
  EXPECT_EQ(request.mockResponseData(), std::nullopt);
  EXPECT_FALSE(request.mockComputedError());
}

TEST_F(MockTest, hasTheHeadersOfTheRequestItselfAsText) {
  const auto response = responseTo(PlainMock());

  ASSERT_TRUE(response.headers);
  EXPECT_EQ(response.headers->count(), 2u);
  EXPECT_EQ(response.headers->value("X-Count"), "3");
  EXPECT_EQ(response.headers->value("X-Name"), "ada");
}

TEST_F(MockTest, isAPlatformResponseOverOnePointOne) {
  const auto response = PlainMock().mockURLResponse();

  EXPECT_EQ(response->url(), URL("https://api.example.com/users/ada"));
  EXPECT_EQ(response->statusCode(), 200);
  EXPECT_EQ(response->httpVersion(), "1.1");
  EXPECT_EQ(response->value("X-Count"), "3");
}

struct StoredMock : DataGetRequestable<StoredMock>, HTTPMockable<StoredMock> {
  std::optional<URL> mockURL;
  std::optional<HTTPHeaders> mockHeaders;
  HTTPStatus mockStatus = HTTPStatus::success;
  std::optional<std::int64_t> mockExpectedContentLength;
  std::optional<std::string> mockSuggestedFilename;
  std::optional<std::string> mockMimeType;
  std::optional<std::string> mockTextEncodingName;
  std::optional<Error> mockError;
  std::optional<Data> mockResponseData;
  URL baseURL = "https://api.example.com";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, saysWhatItStores) {
  StoredMock request;
  request.mockURL = "https://mirror.example.com/a";
  request.mockHeaders = HTTPHeaders{{"X-Age", 7}};
  request.mockStatus = HTTPStatus::created;
  request.mockResponseData = Data("made");

  const auto response = responseTo(request);

  EXPECT_EQ(response.url, URL("https://mirror.example.com/a"));
  EXPECT_EQ(response.headers->value("X-Age"), "7");
  EXPECT_EQ(response.status, HTTPStatus::created);
  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(response.result.body()->text(), "made");
}

TEST_F(MockTest, readsTheFactsOfItsHeaders) {
  StoredMock request;
  request.mockHeaders = HTTPHeaders{{"Content-Type", "text/html; charset=UTF-8"},
                                    {"Content-Length", 12},
                                    {"Content-Disposition", "attachment; filename=page.html"}};

  const auto response = responseTo(request);

  EXPECT_EQ(response.mimeType, "text/html");
  EXPECT_EQ(response.textEncodingName, "utf-8");
  EXPECT_EQ(response.expectedContentLength, 12);
  EXPECT_EQ(response.suggestedFilename, "page.html");
}

TEST_F(MockTest, prefersTheFactsThatItNames) {
  StoredMock request;
  request.mockHeaders = HTTPHeaders{{"Content-Type", "text/html; charset=UTF-8"}, {"Content-Length", 12}};
  request.mockMimeType = "image/png";
  request.mockTextEncodingName = "latin1";
  request.mockExpectedContentLength = 99;
  request.mockSuggestedFilename = "dot.png";

  const auto response = responseTo(request);

  EXPECT_EQ(response.mimeType, "image/png");
  EXPECT_EQ(response.textEncodingName, "latin1");
  EXPECT_EQ(response.expectedContentLength, 99);
  EXPECT_EQ(response.suggestedFilename, "dot.png");
  EXPECT_EQ(response.headers->value("Content-Length"), "12");
}

TEST_F(MockTest, knowsNoFactsWithoutHeaders) {
  StoredMock request;
  request.mockURL = "https://mirror.example.com/list";

  const auto response = responseTo(request);

  ASSERT_TRUE(response.headers);
  EXPECT_EQ(response.headers->count(), 0u);
  EXPECT_EQ(response.mimeType, std::nullopt);
  EXPECT_EQ(response.textEncodingName, std::nullopt);
  EXPECT_EQ(response.expectedContentLength, URLResponse::unknownLength);
  EXPECT_EQ(response.suggestedFilename, "list");
}

TEST_F(MockTest, comesFromAFixedAddressWithoutAURL) {
  const auto response = responseTo(StoredMock());

  EXPECT_EQ(response.url, detail::fallbackMockURL());
  EXPECT_EQ(response.url->scheme(), "https");
  EXPECT_TRUE(response.url->host());
}

TEST_F(MockTest, failsWithAStatusThatTheRequestDoesNotAccept) {
  StoredMock request;
  request.mockStatus = HTTPStatus::notFound;
  request.mockResponseData = Data("nothing here");

  const auto response = responseTo(request);

  ASSERT_TRUE(reasonOf(response));
  EXPECT_EQ(*reasonOf(response), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_EQ(response.status, HTTPStatus::notFound);
  EXPECT_EQ(response.data->text(), "nothing here");
  EXPECT_EQ(*request.mockComputedError()->as<HTTPResponseError>(),
            HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
}

TEST_F(MockTest, failsWithItsOwnErrorRatherThanWithItsStatus) {
  StoredMock request;
  request.mockStatus = HTTPStatus::notFound;
  request.mockError = noRoute;

  const auto response = responseTo(request);

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "no route");
  EXPECT_EQ(response.status, HTTPStatus::notFound);
}

TEST_F(MockTest, failsWithItsOwnErrorThoughTheStatusIsFine) {
  StoredMock request;
  request.mockError = noRoute;

  const auto response = responseTo(request);

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->domain(), "D");
  EXPECT_EQ(response.status, HTTPStatus::success);
}

/// Accepts 404, and only that.
struct LenientMock : DataGetRequestable<LenientMock>, HTTPMockable<LenientMock> {
  HTTPStatus mockStatus = HTTPStatus::notFound;
  bool isAcceptable(HTTPStatus status) const { return status == HTTPStatus::notFound; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, isJudgedAsTheRequestJudgesStatuses) {
  EXPECT_FALSE(LenientMock().mockComputedError());
  EXPECT_EQ(*LenientMock{.mockStatus = HTTPStatus::success}.mockComputedError()->as<HTTPResponseError>(),
            HTTPResponseError::unacceptableStatus(HTTPStatus::success));
}

/// States its mock in every other way.
struct ComputedMock : DataGetRequestable<ComputedMock>, HTTPMockable<ComputedMock> {
  std::string login = "ada";
  static constexpr const char* mockURL = "https://static.example.com/";
  static HTTPHeaders mockHeaders() { return {{"X-Static", true}}; }
  static constexpr std::chrono::milliseconds mockResponseTime{0};
  HTTPResponseError mockError() const { return HTTPResponseError::noContent(); }
  std::string mockResponseData() const { return login; }
  static constexpr int mockExpectedContentLength = 3;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, saysWhatItComputes) {
  const auto response = responseTo(ComputedMock{.login = "grace"});

  EXPECT_EQ(response.url, URL("https://static.example.com/"));
  EXPECT_EQ(response.headers->value("X-Static"), "true");
  EXPECT_EQ(response.expectedContentLength, 3);
  EXPECT_EQ(response.data->text(), "grace");
  EXPECT_EQ(*reasonOf(response), HTTPResponseError::noContent());
}

struct Person {
  std::string login;
  int id = 0;
};
struct GetPerson : JSONGetRequestable<GetPerson, Person>, HTTPMockable<GetPerson> {
  Data mockResponseData = R"({"login": "ada", "id": 1})";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, isDecodedLikeAResponse) {
  const auto response = responseTo(GetPerson());

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(response.result.body()->login, "ada");
  EXPECT_EQ(response.result.body()->id, 1);
}

TEST_F(MockTest, failsLikeAResponseThatCannotBeDecoded) {
  const auto response = responseTo(GetPerson{.mockResponseData = R"({"login": 1})"});

  ASSERT_TRUE(reasonOf(response));
  EXPECT_EQ(reasonOf(response)->which(), HTTPResponseError::Case::jsonDecoding);
  EXPECT_EQ(response.data->text(), R"({"login": 1})");
}

TEST_F(MockTest, isDecodedAsideWhenItIsLong) {
  const std::string login(100'000, 'a');

  const auto response = responseTo(GetPerson{.mockResponseData = R"({"id": 1, "login": ")" + login + "\"}"});

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(response.result.body()->login, login);
}

struct SendReport : UploadRequestable<SendReport, DataResponse>, HTTPMockable<SendReport> {
  Data body = "report";
  Data mockResponseData = "thanks";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockTest, answersAnUploadWithoutProgress) {
  int told = 0;
  const auto response = testkit::await<DataResponse>(
      [&](auto done) { SendReport().send(queue, [&](const HTTPProgress&) { ++told; }, done); });

  EXPECT_EQ(response.data->text(), "thanks");
  EXPECT_EQ(told, 0);
}

TEST_F(MockTest, answersTheFutureOfAnUpload) { EXPECT_EQ(SendReport().send().get().body.text(), "thanks"); }

}  // namespace
}  // namespace corvane
