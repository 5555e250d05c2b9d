#include <cstdio>

#include "Corvane/Corvane.hpp"
#include "Steps.hpp"
#include "TestSupport/StandardRoutes.hpp"

using namespace corvane;
using corvane::testkit::MockResponse;
using corvane::testkit::TestServer;

namespace {

struct User {
  std::int64_t id;
  std::string login;
};

// show: retry
struct GetReport : DataGetRequestable<GetReport>, HTTPRetryAttempting<GetReport> {
  static constexpr double retryInterval = 0.05;
  static constexpr std::int64_t retryLimit = 3;
  static constexpr std::int64_t retryDelta = 0;
  URL url = "/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
// end

// show: policy
struct GetBusyReport : DataGetRequestable<GetBusyReport>, HTTPRetryAttempting<GetBusyReport> {
  static constexpr double retryInterval = 0.05;
  static constexpr std::int64_t retryLimit = 3;
  static HTTPRetryPolicy retryPolicy() { return {.failures = HTTPRetryPolicy::Failures::transient, .jitter = 0.5}; }
  URL url = "/";
  HTTPHeaders sharedHeaders() const { return {}; }
};
// end

// show: polling
struct WatchUser : JSONGetRequestable<WatchUser, User>, HTTPPolling<WatchUser> {
  static constexpr double pollingRate = 0.05;
  static inline URL address = "/";
  URL url() const { return address; }
  HTTPHeaders sharedHeaders() const { return {}; }
};
// end

// show: mock
struct GetUser : JSONGetRequestable<GetUser, User>, HTTPTestMockable<GetUser> {
  URL url = "https://api.example.com/users/1";
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data(R"({"id": 1, "login": "ada"})"); }
  HTTPStatus testStatus() const { return HTTPStatus::serviceUnavailable; }
};
// end

std::string described(const HTTPRetryResult<DataResponse>& result) {
  const DataResponse& last = *result.lastResponse();
  const std::string end = last.result ? std::to_string(last.data->count()) + " bytes" : last.result.error()->message();
  return std::to_string(result.failCount()) + " kept as failed, the last: " + end;
}

void playRetry(Stage& stage, TestServer& server) {
  stage.step("A request that is sent again until it succeeds", "retry", [&] {
    for (int i = 0; i < 2; ++i) server.enqueue(MockResponse(503));
    server.enqueue(MockResponse(200).body("the report"));
    GetReport request;
    request.url = server.url("/report");
    const int before = server.requestCount();
    // show: retry
    const HTTPRetryResult<DataResponse> result = request.sendAttemptingRetry().get();
    // end
    stage.got("result", described(result));
    stage.check(server.requestCount() - before == 3, "three attempts");
    stage.check(result.which() == HTTPRetryResult<DataResponse>::Case::partialFailure, "a partial failure");
    stage.check(result.successfulResponse() && result.successfulResponse()->result, "success in the end");
    for (int i = 0; i < 3; ++i) server.takeRequest();
  });
  stage.step("Only what may be otherwise the next time is sent again", "policy", [&] {
    server.enqueue(MockResponse(404));
    GetBusyReport request;
    request.url = server.url("/report");
    const int before = server.requestCount();
    // show: policy
    const HTTPRetryResult<DataResponse> result = request.sendAttemptingRetry().get();
    // end
    stage.got("result", described(result));
    stage.check(server.requestCount() - before == 1, "one attempt");
    server.takeRequest();
  });
}

void playPolling(Stage& stage, TestServer& server) {
  stage.step("A type that asks again and again", "polling", [&] {
    server.handle("/watched", [](const auto&) { return MockResponse(200).body(R"({"id": 1, "login": "ada"})"); });
    WatchUser::address = server.url("/watched");
    int responses = 0;
    // show: polling
    WatchUser::poll([&](const WatchUser&, const JSONResponse<User>& response) {
      if (response.result && ++responses == 3) WatchUser::stopPolling();
    });
    DispatchQueue::main().runUntil([] { return !WatchUser::isPolling(); });
    // end
    stage.got("responses", std::to_string(responses));
    stage.check(responses == 3, "three responses, and no more");
  });
}

void playMocks(Stage& stage) {
  stage.step("Responses without a server", "mock", [&] {
    // show: mock
    Corvane::isNetworkForbidden = true;
    std::optional<JSONResponse<User>> mocked;
    GetUser().mock(DispatchQueue::main(), [&](JSONResponse<User> response) { mocked = response; });
    DispatchQueue::main().runUntil([&] { return mocked.has_value(); });
    const auto tested = GetUser().send().result();
    const auto real = DataGetRequest("https://api.example.com/users").send().result();
    Corvane::isNetworkForbidden = false;
    // end
    stage.got("mock", mocked->result ? mocked->result.body()->login : mocked->result.error()->message());
    stage.got("test", tested ? "success" : tested.error()->message());
    stage.got("real", real ? "success" : real.error()->message());
    stage.check(mocked->result && mocked->result.body()->login == "ada", "the mock's response");
    stage.check(!tested && tested.error()->as<HTTPResponseError>(), "the test's response");
    stage.check(!real && real.error()->as<HTTPNetworkForbiddenError>(), "no network");
  });
}

void playBatches(Stage& stage, TestServer& server) {
  stage.step("Many requests, eight at a time", "batch", [&] {
    std::size_t bytes = 0;
    // show: batch
    std::vector<DataGetRequest> requests;
    for (int size = 1; size <= 100; ++size) requests.emplace_back(server.url("/bytes/" + std::to_string(size)));
    const std::vector<DataResponse> responses = send(requests, HTTPBatchMode::parallel(8)).get();
    // end
    for (const DataResponse& response : responses) bytes += response.data ? response.data->count() : 0;
    stage.got("responses", std::to_string(responses.size()) + ", " + std::to_string(bytes) + " bytes");
    stage.check(responses.size() == 100 && bytes == 5050, "all of them");
  });
  stage.step("One after another, with each response as it comes", "serial", [&] {
    std::string order;
    std::vector<DataGetRequest> requests;
    for (const int size : {3, 1, 2}) requests.emplace_back(server.url("/bytes/" + std::to_string(size)));
    // show: serial
    const auto update = [&](const DataGetRequest&, const DataResponse& response) {
      order += std::to_string(response.data->count()) + " ";
    };
    const std::vector<DataResponse> responses = send(requests, HTTPBatchMode::serial(), update).get();
    // end
    stage.got("order", order);
    stage.check(order == "3 1 2 " && responses.size() == 3, "the order of the list");
  });
}

}  // namespace

void playBehaviours(Stage& stage) {
  TestServer server;
  installStandardRoutes(server);
  playRetry(stage, server);
  playPolling(stage, server);
  playMocks(stage);
  playBatches(stage, server);
}
