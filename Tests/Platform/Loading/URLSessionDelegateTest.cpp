#include "Platform/Loading/URLSessionDelegate.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(URLSessionDelegateTest, leavesChallengesToTheSystem) {
  URLSessionDelegate delegate;
  int calls = 0;

  delegate.didReceiveChallenge(nullptr, {},
                               [&](AuthChallengeDisposition disposition, std::optional<URLCredential> credential) {
                                 ++calls;
                                 EXPECT_EQ(disposition, AuthChallengeDisposition::performDefaultHandling);
                                 EXPECT_FALSE(credential.has_value());
                               });

  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace platform
