#include "ErrorFacts.hpp"

#include <gtest/gtest.h>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace {

using corvane::CFNetworkErrors;
using corvane::HTTPResponseError;
using corvane::HTTPStatus;

TEST(ErrorFactsTest, nameTheCaseOfAResponseError) {
  const auto facts = ErrorFacts::of(HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));

  EXPECT_EQ(facts.type, "HTTPResponseError");
  EXPECT_EQ(facts.caseName, "unacceptableStatus");
  EXPECT_FALSE(facts.domain.empty());
  EXPECT_NE(facts.message.find("404"), facts.message.npos) << facts.message;
}

TEST(ErrorFactsTest, nameCancellation) {
  EXPECT_EQ(ErrorFacts::of(HTTPResponseError::taskCancelled()).caseName, "taskCancelled");
}

TEST(ErrorFactsTest, nameTheCodeOfALoadingError) {
  const auto facts = ErrorFacts::of(CFNetworkErrors::timedOut());

  EXPECT_EQ(facts.type, "CFNetworkErrors");
  EXPECT_EQ(facts.code, platform::URLErrorCode::timedOut);
  EXPECT_EQ(facts.caseName, "timedOut");
}

TEST(ErrorFactsTest, nameTheCodeOfAProxysError) {
  EXPECT_EQ(ErrorFacts::of(CFNetworkErrors::httpProxyConnectionFailure()).caseName, "httpProxyConnectionFailure");
  EXPECT_EQ(ErrorFacts::of(CFNetworkErrors::socks5BadCredentials()).caseName, "socks5BadCredentials");
}

TEST(ErrorFactsTest, nameTheCodeOfAnErrorOfTheURLDomain) {
  const auto facts = ErrorFacts::of(platform::NSError(platform::NSURLErrorDomain, platform::URLErrorCode::badURL, "x"));

  EXPECT_EQ(facts.domain, "NSURLErrorDomain");
  EXPECT_EQ(facts.caseName, "badURL");
}

TEST(ErrorFactsTest, haveNoCaseForAnErrorOfAnotherDomain) {
  const auto facts = ErrorFacts::of(platform::NSError("Elsewhere", platform::URLErrorCode::badURL, "x"));

  EXPECT_EQ(facts.domain, "Elsewhere");
  EXPECT_FALSE(facts.caseName);
}

TEST(ErrorFactsTest, nameTheCaseOfABrokenGZip) {
  const auto facts = ErrorFacts::of(corvane::GZipError::data("incorrect header check"));

  EXPECT_EQ(facts.type, "GZipError");
  EXPECT_EQ(facts.caseName, "data");
}

}  // namespace
