#include "Corvane/Errors/HTTPRequestError.hpp"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using platform::Dictionary;
using platform::Error;

TEST(HTTPRequestErrorTest, tellsTheMalformedURL) {
  const auto error = HTTPRequestError::malformedURL("ht tp://x");

  EXPECT_EQ(error.which(), HTTPRequestError::Case::malformedURL);
  EXPECT_EQ(error.url(), "ht tp://x");
  EXPECT_EQ(error.message(), "Malformed URL: ht tp://x");
  EXPECT_EQ(error.logMessage(), "Malformed URL: ht tp://x");
  EXPECT_EQ(error.additionalLogInfo(), (Dictionary{{"malformedURL", "ht tp://x"}}));
}

TEST(HTTPRequestErrorTest, takesPartAsAnError) {
  const Error error = HTTPRequestError::malformedURL("x");

  EXPECT_EQ(error.domain(), "Corvane.HTTPRequestError");
  EXPECT_EQ(error.code(), 0);
  EXPECT_EQ(error.userInfo(), (Dictionary{{"NSLocalizedDescription", "Malformed URL: x"}}));
  ASSERT_TRUE(error.is<HTTPRequestError>());
  EXPECT_EQ(*error.as<HTTPRequestError>(), HTTPRequestError::malformedURL("x"));
  EXPECT_NE(*error.as<HTTPRequestError>(), HTTPRequestError::malformedURL("y"));
}

}  // namespace
}  // namespace corvane
