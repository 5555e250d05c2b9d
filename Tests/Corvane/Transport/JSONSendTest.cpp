#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;

struct User {
  std::int64_t id = 0;
  std::string login;
  std::optional<std::string> name;
};
struct NewUser {
  std::string login;
};

/// Lets the test see on which queue a decoding runs, and holds it up there.
struct Held {
  std::string text;
  static inline Expectation<bool>* started = nullptr;
  static inline Expectation<bool>* released = nullptr;
};

}  // namespace
}  // namespace corvane

template <>
struct corvane::JSONCodec<corvane::Held> {
  static corvane::Held decode(JSONReader& reader) {
    corvane::Held::started->fulfil(true);
    corvane::Held::released->wait();
    return {reader.decode<std::string>()};
  }
};

namespace corvane {
namespace {

class JSONSendTest : public testkit::ServerTest {
 protected:
  ~JSONSendTest() override { Corvane::resetSessions(); }

  template <class Request>
  auto responseTo(const Request& request) const {
    using Response = typename Request::Response;
    return await<Response>([&](auto done) { request.send(queue, done); });
  }

  const DispatchQueue queue{"JSONSendTest"};
};

TEST_F(JSONSendTest, deliversAModel) {
  server.enqueue(MockResponse(200).json(R"({"id":7,"login":"ada","name":null,"extra":[1,2]})"));

  const auto response = responseTo(JSONGetRequest<User>(server.url("/users/7"), {{"X-A", 1}}, {{"page", 2}}));

  ASSERT_TRUE(response.result.body()) << response.debugDescription();
  EXPECT_EQ(response.result.body()->login, "ada");
  EXPECT_EQ(response.mimeType, "application/json");
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "GET");
  EXPECT_EQ(received.target, "/users/7?page=2");
  EXPECT_EQ(received.header("Accept"), "application/json");
  EXPECT_EQ(received.header("Content-Type"), std::nullopt);
}

struct Team {
  std::unique_ptr<std::string> captain;
};

TEST_F(JSONSendTest, deliversAModelThatCanOnlyBeMoved) {
  server.handleAll([](const auto&) { return MockResponse(200).json(R"({"captain": "ada"})"); });
  const JSONGetRequest<Team> request(server.url("/team"));
  Expectation<std::string> captains;
  const auto note = [captains](JSONResponse<Team> response) {
    const Team* team = response.result.body();
    captains.fulfil(team ? *team->captain : response.debugDescription());
  };

  request.send(queue, note);
  request.send({.queue = queue}, note);

  EXPECT_EQ(captains.waitForAll(2), (std::vector<std::string>{"ada", "ada"}));
}

TEST_F(JSONSendTest, sendsAModel) {
  server.enqueue(MockResponse(201).json(R"({"id":7,"login":"ada"})"));

  const auto response = responseTo(JSONPostRequest<User>(server.url("/users"), NewUser{"ada"}));

  EXPECT_EQ(response.status, HTTPStatus::created);
  EXPECT_EQ(response.result.body()->id, 7);
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, R"({"login":"ada"})");
  EXPECT_EQ(received.header("Content-Type"), "application/json");
}

TEST_F(JSONSendTest, completesAFutureWithTheModel) {
  server.enqueue(MockResponse(200).json(R"([{"id":1,"login":"a"},{"id":2,"login":"b"}])"));

  const auto response = JSONGetRequest<std::vector<User>>(server.url("/users")).send().get();

  ASSERT_EQ(response.body.size(), 2u);
  EXPECT_EQ(response.json()[1].login, "b");
}

TEST_F(JSONSendTest, failsAFutureWithTheDecodingError) {
  server.enqueue(MockResponse(200).json(R"([{"id":1,"login":"a"},{"id":"2","login":"b"}])"));

  const auto result = JSONGetRequest<std::vector<User>>(server.url("/users")).send().result();

  ASSERT_TRUE(result.error());
  const auto* const error = result.error()->as<HTTPResponseError>();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->underlyingError()->message(), "[1].id: expected an integer, found a string");
}

TEST_F(JSONSendTest, deliversWhatCannotBeEncodedWithoutSendingIt) {
  const auto response = responseTo(JSONPostRequest<User>(server.url("/users"), std::vector<double>{1, NAN}));

  ASSERT_TRUE(response.result.error());
  EXPECT_TRUE(response.result.error()->is<EncodingError>());
  EXPECT_EQ(response.result.error()->message(), "[1]: JSON has no number for a value that is not a number");
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(JSONSendTest, decodesManyBytesToo) {
  std::string document = "[";
  for (int index = 0; index < 20'000; ++index) document += R"({"id":)" + std::to_string(index) + R"(,"login":"user"},)";
  document.back() = ']';
  server.enqueue(MockResponse(200).json(document));

  const auto response = responseTo(JSONGetRequest<std::vector<User>>(server.url("/users")));

  ASSERT_TRUE(response.result.body()) << response.debugDescription();
  EXPECT_EQ(response.result.body()->size(), 20'000u);
  EXPECT_EQ(response.result.body()->back().id, 19'999);
}

TEST_F(JSONSendTest, holdsUpNobodyWithALongDecoding) {
  Expectation<bool> started;
  Expectation<bool> released;
  Held::started = &started;
  Held::released = &released;
  server.handle("/long", [](const auto&) { return MockResponse(200).json("\"" + std::string(100'000, 'x') + "\""); });
  server.handle("/short", [](const auto&) { return MockResponse(200).json(R"({"id":1,"login":"a"})"); });
  Expectation<JSONResponse<Held>> last;
  JSONGetRequest<Held>(server.url("/long")).send(queue, last);
  started.wait();

  const auto other = responseTo(JSONGetRequest<User>(server.url("/short")));
  EXPECT_TRUE(other.result.body());
  EXPECT_FALSE(last.isFulfilled());
  released.fulfil(true);

  EXPECT_EQ(last.wait().result.body()->text.size(), 100'000u);
}

/// Notes where its hooks run, and whether two of them run at a time.
struct WatchedGet : JSONGetRequestable<WatchedGet, std::string> {
  struct Watch {
    std::atomic<int> inside = 0, calls = 0, strays = 0;
  };

  URL url;
  std::shared_ptr<Watch> watch;
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const JSONResponse<std::string>&) const {
    const auto current = DispatchQueue::current();
    const bool isOnItsQueue = current && current->label().ends_with(".Corvane.HTTPService.isolationQueue");
    if (!isOnItsQueue || ++watch->inside != 1) ++watch->strays;
    std::this_thread::yield();
    --watch->inside;
    ++watch->calls;
  }
};

TEST_F(JSONSendTest, callsTheHooksOfLongResponsesOneAtATimeOnTheQueueOfTheSession) {
  server.handleAll([](const auto&) { return MockResponse(200).json("\"" + std::string(100'000, 'x') + "\""); });
  const auto watch = std::make_shared<WatchedGet::Watch>();
  const std::vector<WatchedGet> requests(20, {.url = server.url("/"), .watch = watch});

  const auto responses = send(requests, true).get();

  ASSERT_EQ(responses.size(), 20U);
  for (const auto& response : responses) EXPECT_TRUE(response.result);
  EXPECT_EQ(watch->calls, 20);
  EXPECT_EQ(watch->strays, 0);
}

TEST_F(JSONSendTest, comesToACoroutine) {
  server.enqueue(MockResponse(200).json(R"({"id":7,"login":"ada"})"));

  const auto login = [](URL url) -> velisand::Task<std::string> {
    co_return (co_await JSONGetRequest<User>(url).send()).body.login;
  }(server.url("/users/7"));

  EXPECT_EQ(login.get(), "ada");
}

}  // namespace
}  // namespace corvane
