#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"

namespace corvane {

template <class Response>
const HTTPResponseError* reasonOf(const Response& response) {
  const auto* error = response.result.error();
  return error ? error->template as<HTTPResponseError>() : nullptr;
}

/// Mocks need no server: a test that would reach for the network fails.
class MockTest : public ::testing::Test {
 protected:
  MockTest() { Corvane::isNetworkForbidden = true; }
  ~MockTest() override { Corvane::isNetworkForbidden = false; }

  template <class Request>
  typename Request::Response responseTo(const Request& request) const {
    return testkit::await<typename Request::Response>([&](auto done) { request.send(queue, done); });
  }
  /// Waits until all that has begun on the queues of a mock is over.
  void settle() const {
    detail::mockBackgroundQueue().sync([] {});
    queue.sync([] {});
  }

  const DispatchQueue queue{"MockTest"};
};

/// Says nothing of its mock.
struct PlainMock : DataGetRequestable<PlainMock>, HTTPMockable<PlainMock> {
  URL baseURL = "https://api.example.com";
  std::string path = "/users/ada";
  HTTPHeaders headers = {{"X-Count", 3}, {"X-Name", "ada"}};
  HTTPHeaders sharedHeaders() const { return {{"X-Shared", "1"}}; }
};

}  // namespace corvane
