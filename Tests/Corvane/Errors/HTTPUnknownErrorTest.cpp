#include "Corvane/Errors/HTTPUnknownError.hpp"

#include <gtest/gtest.h>

#include "Corvane/Errors/HTTPRequestError.hpp"

namespace corvane {
namespace {

using platform::Dictionary;
using platform::Error;
using Unknown = HTTPUnknownError;

HTTPUnknownError parsingFailure(std::string json = "{") {
  return Unknown::unableToParseJSON(std::move(json), HTTPRequestError::malformedURL("x"), "A", "f()", 7);
}

TEST(HTTPUnknownErrorTest, tellsWhatHappenedAndWhere) {
  EXPECT_EQ(Unknown::completionWithoutResponseFromPolling("A", "f()", 7).message(),
            "Completion without response from polling.\nFile:A\nFunction:f()\nLine:7");
  EXPECT_EQ(Unknown::futureFailedToMapBody("A", "f()", 7).message(),
            "Future failed to map body \nFile:A\nFunction:f()\nLine:7");
  EXPECT_EQ(Unknown::downloadResponseFailedToConstruct("A", "f()", 7).message(),
            "Download response failed to construct.\nFile:A\nFunction:f()\nLine:7");
  EXPECT_EQ(Unknown::jsonResponseFailedToConstruct("[1]", "A", "f()", 7).message(),
            "json response failed to construct.\nFile:A\nFunction:f()\nLine:7\njson:[1]");
  EXPECT_EQ(Unknown::dataResponseFailedToConstruct("A", "f()", 7).message(),
            "Data response failed to construct.\nFile:A\nFunction:f()\nLine:7");
  EXPECT_EQ(parsingFailure().message(), "Unable to parse json: {\nFile:A\nFunction:f()\nLine:7");
}

TEST(HTTPUnknownErrorTest, saysTheSameForAnUnknownFutureStateAsForPolling) {
  const auto future = Unknown::unknownFutureState("A", "f()", 7);
  const auto polling = Unknown::completionWithoutResponseFromPolling("A", "f()", 7);

  EXPECT_EQ(future.message(), polling.message());
  EXPECT_NE(future, polling);
}

TEST(HTTPUnknownErrorTest, logsItsPlace) {
  const Dictionary place{{"file", "A"}, {"function", "f()"}, {"line", 7}};

  EXPECT_EQ(Unknown::completionWithoutResponseFromPolling("A", "f()", 7).additionalLogInfo(), place);
  EXPECT_EQ(Unknown::futureFailedToMapBody("A", "f()", 7).additionalLogInfo(), place);
  EXPECT_EQ(Unknown::downloadResponseFailedToConstruct("A", "f()", 7).additionalLogInfo(), place);
  EXPECT_EQ(Unknown::dataResponseFailedToConstruct("A", "f()", 7).additionalLogInfo(), place);
  EXPECT_EQ(Unknown::unknownFutureState("A", "f()", 7).additionalLogInfo(), place);
}

TEST(HTTPUnknownErrorTest, logsTheJSONThatMadeNoResponse) {
  EXPECT_EQ(Unknown::jsonResponseFailedToConstruct("[1]", "A", "f()", 7).additionalLogInfo(),
            (Dictionary{{"file", "A"}, {"function", "f()"}, {"line", 7}, {"json", "[1]"}}));
}

TEST(HTTPUnknownErrorTest, logsTheOriginalErrorWhenItIsAskedFor) {
  const auto info = parsingFailure().additionalLogInfo();

  ASSERT_TRUE(info);
  EXPECT_EQ(info->count(), 5u);
  EXPECT_EQ(*info->find("json")->text(), "{");
  ASSERT_TRUE(info->find("originalError"));
  const auto* deferred = info->find("originalError")->deferred();
  ASSERT_TRUE(deferred);
  EXPECT_EQ((*deferred)(), (Dictionary{{"message", "Malformed URL: x"},
                                       {"domain", "Corvane.HTTPRequestError"},
                                       {"code", 0},
                                       {"malformedURL", "x"}}));
}

TEST(HTTPUnknownErrorTest, hasTheOrdinalOfItsCaseAsCode) {
  EXPECT_EQ(Unknown::completionWithoutResponseFromPolling("A", "f()", 7).errorCode(), 0);
  EXPECT_EQ(Unknown::futureFailedToMapBody("A", "f()", 7).errorCode(), 1);
  EXPECT_EQ(Unknown::downloadResponseFailedToConstruct("A", "f()", 7).errorCode(), 2);
  EXPECT_EQ(Unknown::jsonResponseFailedToConstruct("", "A", "f()", 7).errorCode(), 3);
  EXPECT_EQ(Unknown::dataResponseFailedToConstruct("A", "f()", 7).errorCode(), 4);
  EXPECT_EQ(parsingFailure().errorCode(), 5);
  EXPECT_EQ(Unknown::unknownFutureState("A", "f()", 7).errorCode(), 6);
}

TEST(HTTPUnknownErrorTest, isEqualByCaseAndPayload) {
  EXPECT_EQ(parsingFailure("a"), parsingFailure("a"));
  EXPECT_NE(parsingFailure("a"), parsingFailure("b"));
  EXPECT_NE(Unknown::futureFailedToMapBody("A", "f()", 7), Unknown::futureFailedToMapBody("A", "f()", 8));
}

TEST(HTTPUnknownErrorTest, takesPartAsAnError) {
  const Error error = Unknown::unknownFutureState("A", "f()", 7);

  EXPECT_EQ(error.domain(), "Corvane.HTTPUnknownError");
  ASSERT_TRUE(error.is<HTTPUnknownError>());
  EXPECT_EQ(error.as<HTTPUnknownError>()->which(), HTTPUnknownError::Case::unknownFutureState);
  EXPECT_EQ(error.as<HTTPUnknownError>()->line(), 7);
  EXPECT_EQ(error.userInfo(), (Dictionary{{"NSLocalizedDescription", error.message()}}));
}

}  // namespace
}  // namespace corvane
