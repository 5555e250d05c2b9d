#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CorvaneTesting.hpp"

namespace corvane::testkit {

struct MockedUser {
  std::int64_t id = 0;
  std::string name;
};

struct GetMockedUser : JSONGetRequestable<GetMockedUser, MockedUser>, HTTPRequestCancelable<GetMockedUser> {
  URL url = "https://users.example.com/users/7";
  double timeoutInterval = 60;
  HTTPHeaders headers = {};
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct GetUserAgain : JSONGetRequestable<GetUserAgain, MockedUser>, HTTPRetryAttempting<GetUserAgain> {
  URL url = "https://users.example.com/users/7";
  HTTPHeaders sharedHeaders() const { return {}; }
  double retryInterval = 0.001;
  std::int64_t retryLimit = 3;
};

/// No request of such a test reaches a network.
class MockNetworkTest : public ::testing::Test {
 protected:
  static Error errorOf(const auto& result) {
    if (const Error* error = result.error()) return *error;
    return Error("no error", 0, "no error");
  }

  const ForbiddenNetwork forbidden_;
  MockNetwork network;
  const MockedUser ada{.id = 7, .name = "Ada"};
};

}  // namespace corvane::testkit
