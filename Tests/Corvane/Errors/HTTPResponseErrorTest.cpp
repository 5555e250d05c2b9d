#include "Corvane/Errors/HTTPResponseError.hpp"

#include <gtest/gtest.h>

#include "Corvane/Errors/HTTPRequestError.hpp"

namespace sample {
struct User {};
}  // namespace sample

namespace corvane {
namespace {

using platform::Dictionary;
using platform::Error;
using platform::NSError;
using platform::TypeValue;
using Case = HTTPResponseError::Case;

const TypeValue userType{&typeid(sample::User)};

HTTPResponseError decodingFailure(std::string json) {
  return HTTPResponseError::jsonDecoding(userType, HTTPRequestError::malformedURL("x"), std::move(json));
}

TEST(HTTPResponseErrorTest, tellsTheUnacceptableStatus) {
  const auto error = HTTPResponseError::unacceptableStatus(HTTPStatus::notFound);

  EXPECT_EQ(error.which(), Case::unacceptableStatus);
  EXPECT_EQ(error.status(), HTTPStatus::notFound);
  EXPECT_EQ(error.message(), "HTTPStatus: notFound:404 is unacceptable");
  EXPECT_EQ(error.additionalLogInfo(), (Dictionary{{"HTTPStatusCode", 404}}));
  EXPECT_EQ(HTTPResponseError::unacceptableStatus(HTTPStatus::unknown).message(),
            "HTTPStatus: unknown:1000 is unacceptable");
  EXPECT_EQ(HTTPResponseError::unacceptableStatus(HTTPStatus::continue_).message(),
            "HTTPStatus: continue:100 is unacceptable");
}

TEST(HTTPResponseErrorTest, tellsTheTypeThatTheDataDidNotMake) {
  const auto error = HTTPResponseError::malformedData<sample::User>();

  EXPECT_EQ(error.which(), Case::malformedData);
  EXPECT_EQ(error.type(), userType);
  EXPECT_EQ(error.message(), "Data was malformed for type: sample::User");
  EXPECT_EQ(error.additionalLogInfo(), (Dictionary{{"Type", userType}}));
}

TEST(HTTPResponseErrorTest, tellsTheJSONThatDidNotDecode) {
  const auto error = decodingFailure("{\"id\": 1}");

  EXPECT_EQ(error.which(), Case::jsonDecoding);
  EXPECT_EQ(error.json(), "{\"id\": 1}");
  EXPECT_TRUE(error.underlyingError()->is<HTTPRequestError>());
  EXPECT_EQ(error.message(), "JSON decoding failure for type: sample::User with json:\n{\"id\": 1}");
  EXPECT_EQ(error.additionalLogInfo(), (Dictionary{{"Type", userType},
                                                   {"DecodingError", Dictionary{{"message", "Malformed URL: x"},
                                                                                {"domain", "Corvane.HTTPRequestError"},
                                                                                {"code", 0},
                                                                                {"malformedURL", "x"}}},
                                                   {"json", "{\"id\": 1}"}}));
}

TEST(HTTPResponseErrorTest, hasNothingToAddToACancellation) {
  const auto error = HTTPResponseError::taskCancelled();

  EXPECT_EQ(error.which(), Case::taskCancelled);
  EXPECT_EQ(error.message(), "Task has been cancelled");
  EXPECT_EQ(error.additionalLogInfo(), std::nullopt);
}

TEST(HTTPResponseErrorTest, hasNothingToAddToMissingContent) {
  const auto error = HTTPResponseError::noContent();

  EXPECT_EQ(error.which(), Case::noContent);
  EXPECT_EQ(error.message(), "noContent");
  EXPECT_EQ(error.logMessage(), "noContent");
  EXPECT_EQ(error.additionalLogInfo(), std::nullopt);
}

TEST(HTTPResponseErrorTest, hasTheOrdinalOfItsCaseAsCode) {
  EXPECT_EQ(HTTPResponseError::unacceptableStatus(HTTPStatus::gone).errorCode(), 0);
  EXPECT_EQ(HTTPResponseError::malformedData(userType).errorCode(), 1);
  EXPECT_EQ(decodingFailure("").errorCode(), 2);
  EXPECT_EQ(HTTPResponseError::taskCancelled().errorCode(), 3);
  EXPECT_EQ(HTTPResponseError::noContent().errorCode(), 4);
}

TEST(HTTPResponseErrorTest, isEqualByCaseAndPayload) {
  EXPECT_EQ(decodingFailure("a"), decodingFailure("a"));
  EXPECT_NE(decodingFailure("a"), decodingFailure("b"));
  EXPECT_NE(HTTPResponseError::unacceptableStatus(HTTPStatus::gone),
            HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_NE(HTTPResponseError::taskCancelled(), HTTPResponseError::noContent());
}

TEST(HTTPResponseErrorTest, readsThePayloadOfOtherCasesAsAbsent) {
  const auto error = HTTPResponseError::noContent();

  EXPECT_FALSE(error.status() || error.type() || error.underlyingError() || error.json());
}

TEST(HTTPResponseErrorTest, takesPartAsAnError) {
  const Error error = HTTPResponseError::taskCancelled();

  EXPECT_EQ(error.domain(), "Corvane.HTTPResponseError");
  EXPECT_EQ(error.code(), 3);
  EXPECT_EQ(error.userInfo(), (Dictionary{{"NSLocalizedDescription", "Task has been cancelled"}}));
  ASSERT_TRUE(error.is<HTTPResponseError>());
  EXPECT_EQ(*error.as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
  EXPECT_FALSE(error.is<HTTPRequestError>());
}

TEST(HTTPResponseErrorTest, isCaughtByItsTypeAndAsAStandardException) {
  EXPECT_THROW(throw HTTPResponseError::noContent(), HTTPResponseError);
  try {
    throw HTTPResponseError::noContent();
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "noContent");
  }
}

}  // namespace
}  // namespace corvane
