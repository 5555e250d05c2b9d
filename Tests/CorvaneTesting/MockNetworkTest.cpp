#include "CorvaneTesting/MockNetwork.hpp"

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CorvaneTesting/ServerTest.hpp"
#include "MockNetworkFixture.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace corvane::testkit {
namespace {

TEST_F(MockNetworkTest, respondsToRequestsOfAType) {
  network.on<GetMockedUser>().respond(NetworkResponse().json(ada));

  EXPECT_EQ(GetMockedUser().send().get().body.name, "Ada");
}

TEST_F(MockNetworkTest, respondsToURLs) {
  network.on("https://users.example.com/users/*").respond(NetworkResponse().text("a user"));
  network.on("https://users.example.com/users").respond(NetworkResponse().text("all users"));

  EXPECT_EQ(DataGetRequest("https://users.example.com/users/9?full=1").send().get().body.text(), "a user");
  EXPECT_EQ(DataGetRequest("https://users.example.com/users").send().get().body.text(), "all users");
}

TEST_F(MockNetworkTest, respondsToWhatAPredicateSays) {
  network.on([](const SentRequest& request) { return request.header("x-who") == "ada"; })
      .respond(NetworkResponse().json(ada));

  const GetMockedUser asAda{.headers = {{"X-Who", "ada"}}};
  EXPECT_EQ(asAda.send().get().body.id, 7);
  EXPECT_TRUE(GetMockedUser().send().result().error());
}

TEST_F(MockNetworkTest, usesResponsesInOrder) {
  const auto route = network.on<GetUserAgain>().respond(NetworkResponse(503), NetworkResponse().json(ada));

  const auto result = GetUserAgain().sendAttemptingRetry().get();

  EXPECT_EQ(result.failCount(), 1);
  EXPECT_EQ(route.count(), 2);
}

TEST_F(MockNetworkTest, repeatsTheLastResponse) {
  network.onAll().respond(NetworkResponse(503), NetworkResponse().text("on"));

  EXPECT_TRUE(DataGetRequest("https://a.example/").send().result().error());
  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "on");
  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "on");
}

TEST_F(MockNetworkTest, leavesRequestsBeyondItsNumberToOlderRoutes) {
  network.onAll().respond(NetworkResponse().text("old"));
  network.onAll().times(1).respond(NetworkResponse().text("new"));

  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "new");
  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "old");
}

TEST_F(MockNetworkTest, takesNothingBeforeItHasAResponse) {
  network.onAll().respond(NetworkResponse().text("old"));
  auto route = network.onAll();
  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "old");

  route.respond(NetworkResponse().text("new"));

  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "new");
}

struct Sum {
  int left = 0;
  int right = 0;
};

TEST_F(MockNetworkTest, computesResponsesFromRequests) {
  network.on("POST https://a.example/sum").respond([](const SentRequest& request) {
    const auto sum = request.json<Sum>();
    return NetworkResponse(201)
        .header("X-Query", request.queryValue("q").value_or(""))
        .text(std::to_string(sum.left + sum.right));
  });

  const auto response =
      DataPostRequest("https://a.example/sum?q=a%20b", Data(R"({"left": 2, "right": 3})")).send().get();

  EXPECT_EQ(response.body.text(), "5");
  EXPECT_EQ(response.status, HTTPStatus::created);
  EXPECT_EQ(response.headers->value("X-Query"), "a b");
}

TEST_F(MockNetworkTest, keepsTheRequests) {
  network.on<GetMockedUser>().respond(NetworkResponse().json(ada));
  GetMockedUser{.headers = {{"X-A", "1"}}}.send().get();

  const auto requests = network.requests();

  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].description(), "GET https://users.example.com/users/7");
  EXPECT_EQ(requests[0].header("x-a"), "1");
  EXPECT_TRUE(requests[0].isFrom<GetMockedUser>());
  EXPECT_FALSE(requests[0].isFrom<DataGetRequest>());
}

TEST_F(MockNetworkTest, namesARequestThatNoRouteTakes) {
  network.on("https://users.example.com/*").respond(NetworkResponse());

  const auto result = DataGetRequest("https://other.example.com/x").send().result();

  const Error error = errorOf(result);
  EXPECT_EQ(error.message(), "network forbidden: GET https://other.example.com/x");
  EXPECT_TRUE(error.is<HTTPNetworkForbiddenError>());
  ASSERT_EQ(network.unmatchedRequests().size(), 1U);
  EXPECT_EQ(network.unmatchedRequests()[0].url, URL("https://other.example.com/x"));
  EXPECT_TRUE(network.requests().empty());
}

TEST_F(MockNetworkTest, failsWithWhatAFunctionOfTheTestThrows) {
  network.on("/predicate")
      .when([](const SentRequest&) -> bool { throw std::runtime_error("no predicate"); })
      .respond(NetworkResponse());
  network.on("/handler").respond([](const SentRequest&) -> NetworkResponse {
    throw std::runtime_error("no response");
  });

  EXPECT_EQ(errorOf(DataGetRequest("https://a.example/predicate").send().result()).message(), "no predicate");
  EXPECT_EQ(errorOf(DataGetRequest("https://a.example/handler").send().result()).message(), "no response");
}

TEST_F(MockNetworkTest, asksTheNewestOfSeveral) {
  network.onAll().respond(NetworkResponse().text("outer"));
  {
    MockNetwork inner;
    inner.on("/inner").respond(NetworkResponse().text("inner"));

    EXPECT_EQ(DataGetRequest("https://a.example/inner").send().get().body.text(), "inner");
    EXPECT_EQ(DataGetRequest("https://a.example/x").send().get().body.text(), "outer");
  }
  EXPECT_EQ(DataGetRequest("https://a.example/inner").send().get().body.text(), "outer");
}

TEST_F(MockNetworkTest, isNotInTheWayOfOtherRequestsWhenItEnds) {
  network.on("https://a.example/*").respond(NetworkResponse().text("on"));
  auto ended = std::make_unique<MockNetwork>();
  ended->on("https://b.example/*").respond(NetworkResponse());
  ended->onAll().times(0).respond(NetworkResponse());
  MockNetwork newest;  // holds the request until the other has ended
  const Expectation<void> asked;
  const platform::DispatchSemaphore goOn(0);
  newest
      .on([=](const SentRequest&) {
        asked();
        goOn.wait();
        return false;
      })
      .respond(NetworkResponse());
  const auto future = DataGetRequest("https://a.example/x").send();
  asked.wait();

  ended.reset();
  goOn.signal();

  EXPECT_EQ(future.get().body.text(), "on");
}

TEST_F(MockNetworkTest, refusesFieldsThatNoServerSends) {
  EXPECT_THROW(NetworkResponse().header("X A", "1"), std::invalid_argument);
  EXPECT_THROW(NetworkResponse().header("X-A", "1\r\nX-B: 2"), std::invalid_argument);
}

TEST_F(MockNetworkTest, servesTestsOnParallelThreads) {
  const auto test = [](int number) {
    const std::string host = "https://host" + std::to_string(number) + ".example";
    MockNetwork own;
    own.on(host + "/*").respond([number](const SentRequest&) {
      return NetworkResponse().text(std::to_string(number));
    });
    for (int i = 0; i < 20; ++i) {
      EXPECT_EQ(DataGetRequest(host + "/" + std::to_string(i)).send().get().body.text(), std::to_string(number));
    }
    EXPECT_EQ(own.requests().size(), 20U);
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < 6; ++number) threads.emplace_back(test, number);
  for (std::thread& thread : threads) thread.join();
}

class PermittedNetworkTest : public ServerTest {
 protected:
  MockNetwork network;
};

TEST_F(PermittedNetworkTest, leavesOtherRequestsToTheNetwork) {
  server.enqueue(MockResponse().text("from the server"));
  network.on("/mocked").respond(NetworkResponse().text("mocked"));

  EXPECT_EQ(DataGetRequest(server.url("/mocked")).send().get().body.text(), "mocked");
  EXPECT_EQ(DataGetRequest(server.url("/real")).send().get().body.text(), "from the server");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(PermittedNetworkTest, sendsTheBodyOfARequestThatItLeaves) {
  server.enqueue(MockResponse().text("ok"));

  DataPostRequest(server.url("/"), Data("the body")).send().get();

  EXPECT_EQ(server.takeRequest().body, "the body");
}

}  // namespace
}  // namespace corvane::testkit
