#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane {

/// What happened, in order; shared by its copies. Any thread.
class EventRecorder {
 public:
  void note(std::string event) const {
    const std::lock_guard lock(state_->mutex);
    state_->events.push_back(std::move(event));
  }
  std::vector<std::string> events() const {
    const std::lock_guard lock(state_->mutex);
    return state_->events;
  }

 private:
  struct State {
    std::mutex mutex;
    std::vector<std::string> events;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Answers itself with its name, after a time of the clock; tells the recorder when it is sent.
struct BatchItem : DataGetRequestable<BatchItem>, HTTPMockable<BatchItem>, HTTPRequestCancelable<BatchItem> {
  std::string name;
  double mockResponseTime = 0;
  double timeoutInterval = 60;
  HTTPStatus mockStatus = HTTPStatus::success;
  bool shouldSend = true;
  std::optional<EventRecorder> recorder;
  URL baseURL = "https://example.com/items";

  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data(name); }
  void validate() const {
    if (recorder) recorder->note("sends " + name);
  }
};

inline bool isTimeout(const DataResponse& response) {
  const auto* error = response.result.error();
  return error && error->as<HTTPResponseError>() &&
         *error->as<HTTPResponseError>() == HTTPResponseError::unacceptableStatus(HTTPStatus::requestTimeout);
}

/// What a response brought, in a word.
inline std::string summary(const DataResponse& response) {
  if (isTimeout(response)) return "time-out";
  if (response.result.isSuccess()) return response.data->text();
  return response.result.error()->message();
}
inline std::vector<std::string> summaries(const std::vector<DataResponse>& responses) {
  std::vector<std::string> texts;
  for (const auto& response : responses) texts.push_back(summary(response));
  return texts;
}

/// Batches of requests that answer themselves by a clock that stands still, with a queue of the test's own.
class BatchTest : public ::testing::Test {
 protected:
  using Responses = std::vector<DataResponse>;

  BatchItem item(std::string name, double responseTime = 0) const {
    return {.name = std::move(name), .mockResponseTime = responseTime, .recorder = recorder};
  }
  /// Notes the names of requests and what came of them.
  auto noting() const {
    return [recorder = recorder](const auto& request, const DataResponse& response) {
      recorder.note(request.name + ": " + summary(response));
    };
  }
  /// The texts of a list of responses, once it is there.
  static std::vector<std::string> textsOf(const testkit::Expectation<Responses>& completion) {
    return summaries(completion.wait());
  }

  platform::detail::ManualClock clock;
  const DispatchQueue queue{"BatchTest"};
  const EventRecorder recorder;
  const testkit::Expectation<Responses> completion;
};

}  // namespace corvane
