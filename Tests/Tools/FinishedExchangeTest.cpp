#include "FinishedExchange.hpp"

#include <gtest/gtest.h>

namespace {

using corvane::CFNetworkErrors;
using corvane::Error;
using corvane::HTTPResponseError;
namespace URLErrorCode = platform::URLErrorCode;

std::string sentenceFor(std::int32_t code, const std::string& detail) {
  const platform::NSError cause(platform::kCFErrorDomainCFNetwork, code, detail,
                                {{platform::URLErrorKey::transportMessage, detail}});
  return sentence(Error(CFNetworkErrors(code, cause)), corvane::ResponseRecord());
}

TEST(FinishedExchangeTest, saysWhatTheLibraryFound) {
  EXPECT_EQ(sentenceFor(URLErrorCode::cannotConnectToHost, "no connection could be made to \"a\", port 1"),
            "no connection could be made to \"a\", port 1");
  EXPECT_EQ(sentenceFor(URLErrorCode::socksUnsupportedServerVersion, "the SOCKS proxy speaks another version: 4"),
            "the SOCKS proxy speaks another version: 4");
  EXPECT_EQ(sentenceFor(URLErrorCode::timedOut, "nothing was sent or received for 1 second"),
            "timed out: nothing was sent or received for 1 second");
  EXPECT_EQ(sentenceFor(URLErrorCode::serverCertificateHasBadDate, "The certificate \"a\" expired on 2026-01-01."),
            "the server is not trusted: the certificate \"a\" expired on 2026-01-01");
}

TEST(FinishedExchangeTest, putsThePlatformsSentenceBeforeWhatIsNone) {
  EXPECT_EQ(sentenceFor(URLErrorCode::resourceUnavailable, "a file"),
            "the connection’s resource is unavailable: a file");
}

TEST(FinishedExchangeTest, saysThePlatformsSentenceWhereNothingElseIsKnown) {
  const corvane::ResponseRecord response;
  EXPECT_EQ(sentence(Error(CFNetworkErrors::timedOut()), response), "The connection timed out.");
  EXPECT_EQ(sentence(Error(HTTPResponseError::taskCancelled()), response), "the request was cancelled");
}

TEST(FinishedExchangeTest, showsNoSecretOfAURL) {
  const std::string text =
      sentenceFor(URLErrorCode::unsupportedURL, "the redirect to \"ftp://a:pw@b/?token=pw\" failed");
  EXPECT_EQ(text.find("pw"), text.npos) << text;
}

}  // namespace
