#include "Corvane/HTTPStatus.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <unordered_set>

#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace corvane {
namespace {

using platform::HTTPURLResponse;

struct Row {
  HTTPStatus status;
  int rawValue;
  std::string name;
};

const Row rows[] = {
    {HTTPStatus::continue_, 100, "continue"},
    {HTTPStatus::switchingProtocols, 101, "switchingProtocols"},
    {HTTPStatus::success, 200, "success"},
    {HTTPStatus::created, 201, "created"},
    {HTTPStatus::accepted, 202, "accepted"},
    {HTTPStatus::nonAuthoritativeInfo, 203, "nonAuthoritativeInfo"},
    {HTTPStatus::noContent, 204, "noContent"},
    {HTTPStatus::resetContent, 205, "resetContent"},
    {HTTPStatus::partialContent, 206, "partialContent"},
    {HTTPStatus::multipleChoices, 300, "multipleChoices"},
    {HTTPStatus::movedPermanently, 301, "movedPermanently"},
    {HTTPStatus::found, 302, "found"},
    {HTTPStatus::seeOther, 303, "seeOther"},
    {HTTPStatus::notModified, 304, "notModified"},
    {HTTPStatus::useProxy, 305, "useProxy"},
    {HTTPStatus::unused, 306, "unused"},
    {HTTPStatus::temporaryRedirect, 307, "temporaryRedirect"},
    {HTTPStatus::badRequest, 400, "badRequest"},
    {HTTPStatus::unauthorized, 401, "unauthorized"},
    {HTTPStatus::paymentRequired, 402, "paymentRequired"},
    {HTTPStatus::forbidden, 403, "forbidden"},
    {HTTPStatus::notFound, 404, "notFound"},
    {HTTPStatus::methodNotAllowed, 405, "methodNotAllowed"},
    {HTTPStatus::notAcceptable, 406, "notAcceptable"},
    {HTTPStatus::proxyAuthenticationRequired, 407, "proxyAuthenticationRequired"},
    {HTTPStatus::requestTimeout, 408, "requestTimeout"},
    {HTTPStatus::conflict, 409, "conflict"},
    {HTTPStatus::gone, 410, "gone"},
    {HTTPStatus::lengthRequired, 411, "lengthRequired"},
    {HTTPStatus::preconditionFailed, 412, "preconditionFailed"},
    {HTTPStatus::requestEntityTooLarge, 413, "requestEntityTooLarge"},
    {HTTPStatus::requestURITooLong, 414, "requestURITooLong"},
    {HTTPStatus::unsupportedMediaType, 415, "unsupportedMediaType"},
    {HTTPStatus::requestedRangeNotSatisfiable, 416, "requestedRangeNotSatisfiable"},
    {HTTPStatus::expectationFailed, 417, "expectationFailed"},
    {HTTPStatus::internalServerError, 500, "internalServerError"},
    {HTTPStatus::notImplemented, 501, "notImplemented"},
    {HTTPStatus::badGateway, 502, "badGateway"},
    {HTTPStatus::serviceUnavailable, 503, "serviceUnavailable"},
    {HTTPStatus::gatewayTimeout, 504, "gatewayTimeout"},
    {HTTPStatus::httpVersionNotSupported, 505, "httpVersionNotSupported"},
    {HTTPStatus::unknown, 1000, "unknown"},
};

TEST(HTTPStatusTest, hasTheNumberAndTheNameOfEveryStatus) {
  for (const auto& row : rows) {
    EXPECT_EQ(row.status.rawValue(), row.rawValue);
    EXPECT_EQ(row.status.name(), row.name);
    EXPECT_EQ(HTTPStatus::fromRawValue(row.rawValue), row.status);
  }
}

TEST(HTTPStatusTest, hasFortyTwoCasesAndNoOther) {
  int found = 0;
  for (int rawValue = -10; rawValue <= 2000; ++rawValue) found += HTTPStatus::fromRawValue(rawValue).has_value();

  EXPECT_EQ(found, 42);
}

TEST(HTTPStatusTest, isAbsentForANumberWithoutAName) {
  for (const int rawValue : {199, 207, 308, 418, 422, 429, 506, 511, 999, 0, -1})
    EXPECT_EQ(HTTPStatus::fromRawValue(rawValue), std::nullopt) << rawValue;
}

TEST(HTTPStatusTest, isReadFromAResponse) {
  const auto statusOf = [](int code) { return status(HTTPURLResponse("http://h/", code, "HTTP/1.1", {})); };

  EXPECT_EQ(statusOf(200), HTTPStatus::success);
  EXPECT_EQ(statusOf(404), HTTPStatus::notFound);
  EXPECT_EQ(statusOf(306), HTTPStatus::unused);
  for (const int code : {199, 207, 308, 418, 422, 429, 506, 999})
    EXPECT_EQ(statusOf(code), HTTPStatus::unknown) << code;
}

TEST(HTTPStatusTest, hashesByItsNumber) {
  const std::unordered_set<HTTPStatus> statuses{HTTPStatus::success, *HTTPStatus::fromRawValue(200),
                                                HTTPStatus::created};

  EXPECT_EQ(statuses.size(), 2u);
  EXPECT_EQ(std::hash<HTTPStatus>()(HTTPStatus::success), std::hash<HTTPStatus>()(*HTTPStatus::fromRawValue(200)));
}

constexpr bool isMissing(HTTPStatus status) {
  switch (status) {
    case HTTPStatus::notFound:
    case HTTPStatus::gone:
      return true;
    default:
      return false;
  }
}

TEST(HTTPStatusTest, isUsableInASwitchAndInConstants) {
  static_assert(isMissing(HTTPStatus::gone) && !isMissing(HTTPStatus::success));
  static_assert(HTTPStatus::unknown.rawValue() == 1000);
}

TEST(HTTPStatusTest, printsItsName) {
  std::ostringstream stream;
  stream << HTTPStatus::continue_;

  EXPECT_EQ(stream.str(), "continue");
  EXPECT_EQ(platform::AnyValue(HTTPStatus::notFound).description(), "notFound");
}

TEST(HTTPStatusTest, keepsTheCodeThatHasNoName) {
  for (const int code : {207, 308, 418, 422, 429, 451, 599, 999}) {
    const HTTPStatus status = HTTPStatus::of(code);

    EXPECT_EQ(status, HTTPStatus::unknown);
    EXPECT_EQ(status.rawValue(), 1000);
    EXPECT_EQ(status.statusCode(), code);
    EXPECT_EQ(std::hash<HTTPStatus>()(status), std::hash<HTTPStatus>()(HTTPStatus::unknown));
  }
  EXPECT_EQ(HTTPStatus::of(404), HTTPStatus::notFound);
  EXPECT_EQ(HTTPStatus::notFound.statusCode(), 404);
  EXPECT_EQ(HTTPStatus::unknown.statusCode(), std::nullopt);
}

TEST(HTTPStatusTest, hasTheRegisteredReasonPhrase) {
  EXPECT_EQ(HTTPStatus::notFound.reasonPhrase(), "Not Found");
  EXPECT_EQ(HTTPStatus::of(429).reasonPhrase(), "Too Many Requests");
  EXPECT_EQ(HTTPStatus::of(599).reasonPhrase(), "");
  EXPECT_EQ(HTTPStatus::unknown.reasonPhrase(), "");
}

TEST(HTTPStatusTest, ofAPlatformResponseKeepsTheCode) {
  EXPECT_EQ(status(HTTPURLResponse("http://h", 429, "HTTP/1.1", {})).statusCode(), 429);
}

}  // namespace
}  // namespace corvane
