#include "Corvane/Responses/HTTPResponse.hpp"

#include <gtest/gtest.h>

#include <string>

#include "Corvane/Responses/DataResponse.hpp"

namespace corvane {
namespace {

using platform::Data;
using platform::Error;
using platform::HTTPHeaderFields;
using platform::HTTPURLResponse;
using platform::URL;
using platform::URLResponse;

static_assert(HTTPResponsableBase<HTTPResponse<Data>>);
static_assert(!HTTPResponsable<HTTPResponse<Data>>, "a record of success has no result");

DataResponse sourceResponse() {
  const HTTPHeaderFields headers{{"Content-Type", "text/plain; charset=utf-8"}, {"Content-Length", "5"}};
  const auto httpResponse = std::make_shared<HTTPURLResponse>("http://h/report.txt", 200, "HTTP/1.1", headers);
  return DataResponse(Data("hello"), std::nullopt, httpResponse, std::nullopt);
}

TEST(HTTPResponseTest, copiesTheFactsOfTheResponseItIsMadeOf) {
  const auto source = sourceResponse();

  const HTTPResponse<Data> response(source, Data("body"));

  EXPECT_EQ(response.data, source.data);
  EXPECT_EQ(response.headers, source.headers);
  EXPECT_EQ(response.status, HTTPStatus::success);
  EXPECT_EQ(response.expectedContentLength, 5);
  EXPECT_EQ(response.suggestedFilename, "report.txt");
  EXPECT_EQ(response.mimeType, "text/plain");
  EXPECT_EQ(response.textEncodingName, "utf-8");
  EXPECT_EQ(response.url, URL("http://h/report.txt"));
  EXPECT_EQ(response.debugDescription, source.debugDescription());
  EXPECT_EQ(response.body, Data("body"));
}

TEST(HTTPResponseTest, leavesThePlatformResponseBehind) {
  const auto source = sourceResponse();
  ASSERT_TRUE(source.urlResponse);

  const HTTPResponse<Data> response(source, Data("body"));

  EXPECT_EQ(response.urlResponse, nullptr);
}

TEST(HTTPResponseTest, showsABodyMadeOfBytesBesideTheBytesReceived) {
  const HTTPResponse<std::string> response(sourceResponse(), "HELLO");

  EXPECT_EQ(response.bodyData(), "HELLO");
  EXPECT_EQ(&response.bodyData(), &response.body);
  EXPECT_EQ(response.data, Data("hello"));
}

/// A response type of a user's own: some properties stored, others computed.
struct OwnResponse {
  using Result = DataResult;

  OwnResponse(std::optional<Data> bytes, std::optional<URL>, std::shared_ptr<const URLResponse>, std::optional<Error>)
      : data(std::move(bytes)) {}

  std::optional<Data> data;
  std::optional<HTTPHeaderFields> headers() const { return std::nullopt; }
  HTTPStatus status() const { return HTTPStatus::accepted; }
  std::optional<std::int64_t> expectedContentLength() const { return 9; }
  std::optional<std::string> suggestedFilename, mimeType = "own/type", textEncodingName;
  URL url() const { return "http://own/"; }
  std::string debugDescription() const { return "own"; }
  std::shared_ptr<const URLResponse> urlResponse;
  DataResult result() const { return DataResult::success(data); }
};
static_assert(HTTPResponsable<OwnResponse>);

TEST(HTTPResponseTest, readsStoredAndComputedPropertiesAlike) {
  const OwnResponse own(Data("x"), std::nullopt, nullptr, std::nullopt);

  const HTTPResponse<int> response(own, 3);

  EXPECT_EQ(response.data, Data("x"));
  EXPECT_EQ(response.status, HTTPStatus::accepted);
  EXPECT_EQ(response.expectedContentLength, 9);
  EXPECT_EQ(response.mimeType, "own/type");
  EXPECT_EQ(response.url, URL("http://own/"));
  EXPECT_EQ(response.debugDescription, "own");
  EXPECT_EQ(response.body, 3);
}

struct WithoutResult : ResponseRecord {
  std::string debugDescription;
};
static_assert(HTTPResponsableBase<WithoutResult> && !HTTPResponsable<WithoutResult>);
static_assert(!HTTPResponsableBase<int>);

}  // namespace
}  // namespace corvane
