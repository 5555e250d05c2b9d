#include "Corvane/Responses/DataResponse.hpp"

#include <gtest/gtest.h>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"

namespace corvane {
namespace {

using platform::Data;
using platform::Error;
using platform::HTTPHeaderFields;
using platform::HTTPURLResponse;
using platform::URL;
using platform::URLResponse;

static_assert(HTTPResponsable<DataResponse>);
static_assert(HTTPResultable<DataResult>);

const HTTPHeaderFields headers{{"Content-Type", "text/plain; charset=utf-8"}, {"Content-Length", "5"}};

std::shared_ptr<const HTTPURLResponse> httpResponse(int status) {
  return std::make_shared<HTTPURLResponse>("http://h/report.txt", status, "HTTP/1.1", headers);
}

DataResponse response(std::optional<Data> data, std::shared_ptr<const URLResponse> urlResponse,
                      std::optional<Error> error = std::nullopt) {
  return DataResponse(std::move(data), std::nullopt, std::move(urlResponse), std::move(error));
}

const HTTPResponseError* responseError(const DataResponse& response) {
  return response.result.error() ? response.result.error()->as<HTTPResponseError>() : nullptr;
}

TEST(DataResponseTest, succeedsWithTheBytesReceived) {
  const Data body("hello");

  const auto result = response(body, httpResponse(200));

  ASSERT_TRUE(result.result.body());
  EXPECT_EQ(*result.result.body(), body);
  EXPECT_EQ(result.result.error(), nullptr);
}

TEST(DataResponseTest, keepsTheBytesOnce) {
  const Data body("hello");

  const auto result = response(body, httpResponse(200));

  EXPECT_EQ(result.data->bytes(), body.bytes());
  EXPECT_EQ(result.result.body()->bytes(), body.bytes());
}

TEST(DataResponseTest, copiesWhatThePlatformResponseSays) {
  const auto urlResponse = httpResponse(201);

  const auto result = response(Data("hello"), urlResponse);

  EXPECT_EQ(result.headers, headers);
  EXPECT_EQ(result.status, HTTPStatus::created);
  EXPECT_EQ(result.expectedContentLength, 5);
  EXPECT_EQ(result.suggestedFilename, "report.txt");
  EXPECT_EQ(result.mimeType, "text/plain");
  EXPECT_EQ(result.textEncodingName, "utf-8");
  EXPECT_EQ(result.url, URL("http://h/report.txt"));
  EXPECT_EQ(result.urlResponse, urlResponse);
}

TEST(DataResponseTest, countsEveryStatusFrom200To206AsSuccess) {
  for (int status = 100; status < 600; ++status) {
    const auto result = response(Data("x"), httpResponse(status));
    EXPECT_EQ(result.result.isSuccess(), status >= 200 && status <= 206) << status;
  }
}

TEST(DataResponseTest, succeedsWithoutBytesAsReceived) {
  const auto absent = response(std::nullopt, httpResponse(204));
  const auto empty = response(Data(), httpResponse(204));

  EXPECT_TRUE(absent.result.isSuccess());
  EXPECT_EQ(absent.result.body(), nullptr);
  EXPECT_EQ(absent.data, std::nullopt);
  ASSERT_TRUE(empty.result.body());
  EXPECT_TRUE(empty.result.body()->isEmpty());
}

TEST(DataResponseTest, failsForAnyOtherStatusAndKeepsWhatWasReceived) {
  const auto result = response(Data("old"), httpResponse(304));

  ASSERT_TRUE(responseError(result));
  EXPECT_EQ(*responseError(result), HTTPResponseError::unacceptableStatus(HTTPStatus::notModified));
  EXPECT_EQ(result.result.body(), nullptr);
  EXPECT_EQ(result.status, HTTPStatus::notModified);
  EXPECT_EQ(result.headers, headers);
  EXPECT_EQ(result.data, Data("old"));
}

TEST(DataResponseTest, failsWithAnUnknownStatusForAnUnlistedCode) {
  const auto result = response(Data(), httpResponse(429));

  ASSERT_TRUE(responseError(result));
  EXPECT_EQ(*responseError(result), HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
  EXPECT_EQ(result.status, HTTPStatus::unknown);
}

TEST(DataResponseTest, putsTheTransportErrorBeforeAGoodStatus) {
  const auto result = response(Data("par"), httpResponse(200), Error(CFNetworkErrors::networkConnectionLost()));

  ASSERT_TRUE(result.result.error());
  ASSERT_TRUE(result.result.error()->is<CFNetworkErrors>());
  EXPECT_EQ(*result.result.error()->as<CFNetworkErrors>(), CFNetworkErrors::networkConnectionLost());
  EXPECT_EQ(result.status, HTTPStatus::success);
  EXPECT_EQ(result.data, Data("par"));
}

TEST(DataResponseTest, failsAtItsNamedPlaceWithoutErrorAndResponse) {
  const auto result = response(std::nullopt, nullptr);

  ASSERT_TRUE(result.result.error());
  const auto* error = result.result.error()->as<HTTPUnknownError>();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPUnknownError::Case::dataResponseFailedToConstruct);
  EXPECT_EQ(error->line(), 54);
  EXPECT_EQ(error->function(), "init(data:url:response:error:)");
  EXPECT_TRUE(error->file().ends_with("DataResponse.cpp"));
  EXPECT_EQ(result.status, HTTPStatus::unknown);
  EXPECT_FALSE(result.headers || result.expectedContentLength || result.suggestedFilename || result.mimeType ||
               result.textEncodingName || result.url || result.urlResponse);
}

TEST(DataResponseTest, failsForAResponseThatIsNotHTTP) {
  const auto file = std::make_shared<URLResponse>("file:///etc/motd", "text/plain", 12, std::nullopt);

  const auto result = response(Data("hello"), file);

  ASSERT_TRUE(result.result.error());
  ASSERT_TRUE(result.result.error()->is<HTTPUnknownError>());
  EXPECT_EQ(result.result.error()->as<HTTPUnknownError>()->which(),
            HTTPUnknownError::Case::dataResponseFailedToConstruct);
  EXPECT_EQ(result.mimeType, "text/plain");
  EXPECT_EQ(result.expectedContentLength, 12);
  EXPECT_EQ(result.headers, std::nullopt);
  EXPECT_EQ(result.status, HTTPStatus::unknown);
}

TEST(DataResponseTest, isMadeOfAnErrorAndAResponse) {
  const DataResponse result(httpResponse(500), Data("oops"), HTTPResponseError::taskCancelled());

  ASSERT_TRUE(responseError(result));
  EXPECT_EQ(responseError(result)->which(), HTTPResponseError::Case::taskCancelled);
  EXPECT_EQ(result.status, HTTPStatus::internalServerError);
  EXPECT_EQ(result.data, Data("oops"));
}

TEST(DataResponseTest, isMadeOfAResultAndAResponse) {
  const DataResponse result(DataResult::success(Data("made")), Data("received"), httpResponse(404));

  EXPECT_EQ(*result.result.body(), Data("made"));
  EXPECT_EQ(result.data, Data("received"));
  EXPECT_EQ(result.status, HTTPStatus::notFound);
}

TEST(DataResponseTest, isMadeOfItsFields) {
  const DataResponse bare(DataResult::success(Data("x")));
  const DataResponse full(DataResult::success(Data("x")), {.status = HTTPStatus::accepted, .mimeType = "a/b"});

  EXPECT_EQ(bare.status, HTTPStatus::unknown);
  EXPECT_EQ(bare.data, std::nullopt);
  EXPECT_EQ(full.status, HTTPStatus::accepted);
  EXPECT_EQ(full.mimeType, "a/b");
}

TEST(DataResponseTest, describesItselfInALine) {
  EXPECT_EQ(
      response(Data("oh no"), httpResponse(404)).debugDescription(),
      "DataResponse: notFound (404), 5 bytes, text/plain, http://h/report.txt, error: HTTPStatus: notFound:404 is "
      "unacceptable");
  EXPECT_EQ(DataResponse(DataResult::success(std::nullopt)).debugDescription(),
            "DataResponse: unknown (1000), no data");
}

TEST(DataResponseTest, describesAStatusWithoutANameByItsCode) {
  EXPECT_EQ(
      response(Data("hello"), httpResponse(429)).debugDescription(),
      "DataResponse: unknown (429 Too Many Requests), 5 bytes, text/plain, http://h/report.txt, error: HTTPStatus: "
      "unknown:1000 is unacceptable");
}

}  // namespace
}  // namespace corvane
