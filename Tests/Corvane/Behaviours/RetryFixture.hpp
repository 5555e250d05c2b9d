#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane {

/// A request of which everything that concerns retrying can be chosen.
struct Try : DataGetRequestable<Try>, HTTPRetryAttempting<Try>, HTTPRequestCancelable<Try> {
  URL url;
  std::int64_t retryLimit = 2;
  double retryInterval = 2;
  std::int64_t retryDelta = 1;
  HTTPRetryPolicy retryPolicy = {};
  bool shouldSend = true;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// What a result holds, by the bodies of its responses: "partialFailure b after a". Without data: the error.
template <class Response>
std::string nameOf(const Response& response) {
  if (response.data) return response.data->text();
  return response.result.error() ? response.result.error()->message() : "nothing";
}
template <class Response>
std::string summary(const HTTPRetryResult<Response>& result) {
  using Case = typename HTTPRetryResult<Response>::Case;
  std::string text = result.which() == Case::noFailure        ? "noFailure"
                     : result.which() == Case::partialFailure ? "partialFailure"
                                                              : "totalFailure";
  if (const auto* successful = result.successfulResponse()) text += " " + nameOf(*successful);
  if (result.failCount() > 0) text += " after";
  for (const auto& failed : result.failedResponses()) text += " " + nameOf(failed);
  return text;
}

/// Sends to a server of its own, by a clock that stands still.
class RetryTest : public testkit::ServerTest {
 protected:
  using Result = HTTPRetryResult<DataResponse>;

  ~RetryTest() override {
    Corvane::resetSessions();
    if (HasFailure()) ADD_FAILURE() << "The clock had these waits: " << ::testing::PrintToString(waits());
  }

  Try attempt(std::int64_t limit = 2) const { return {.url = server.url("/"), .retryLimit = limit}; }
  void failWith(const std::string& text, int status = 500) { server.enqueue(testkit::MockResponse(status).text(text)); }
  void succeedWith(const std::string& text) { server.enqueue(testkit::MockResponse(200).text(text)); }

  /// Lets the waits pass as they come, so many of them, until the completion is called.
  template <class Request>
  HTTPRetryResult<typename Request::Response> resultOf(const Request& request, int waits) {
    testkit::Expectation<HTTPRetryResult<typename Request::Response>> completion;
    request.sendAttemptingRetry(queue, completion);
    letPass(waits);
    return completion.wait();
  }
  void letPass(int waits) {
    for (int i = 0; i < waits; ++i) {
      ASSERT_TRUE(clock.waitForTimers(1));
      clock.advanceToNextTimer();
    }
  }
  std::vector<double> waits() const {
    std::vector<double> seconds;
    for (const auto wait : clock.waits()) seconds.push_back(wait.count());
    return seconds;
  }

  platform::detail::ManualClock clock;
  const DispatchQueue queue{"RetryTest"};
};

}  // namespace corvane
