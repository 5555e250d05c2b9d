#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "CorvaneTesting/Latch.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "SendFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using platform::detail::ManualClock;
using namespace std::chrono_literals;

constexpr platform::Seconds patience(20);

/// Requests to a server of its own that are awaited together.
class CompositionTest : public SendTest {
 protected:
  using Sent = Future<HTTPResponse<Data>>;

  ~CompositionTest() override { latch.open(); }

  MockResponse held() const { return MockResponse(200).hold(Moment::beforeStatusLine, latch); }
  std::vector<Sent> send(int count) const {
    std::vector<Sent> sent;
    for (int number = 0; number < count; ++number) sent.push_back(get("/" + std::to_string(number)).send());
    return sent;
  }
  template <class T>
  static const Error* errorOf(const Future<T>& future) {
    if (!future.wait(patience)) ADD_FAILURE() << "not completed";
    if (!future.isCompleted()) return nullptr;
    static thread_local std::optional<Error> kept;
    const auto result = future.result();
    kept.reset();
    if (result.error()) kept.emplace(*result.error());
    return kept ? &*kept : nullptr;
  }
  template <class T>
  static bool wasCancelled(const Future<T>& future) {
    const Error* error = errorOf(future);
    const auto* response = error ? error->as<HTTPResponseError>() : nullptr;
    return response && *response == HTTPResponseError::taskCancelled();
  }

  const Latch latch;
};

TEST_F(CompositionTest, awaitsAHundredRequests) {
  server.handleAll([](const auto& request) { return MockResponse(200).text(request.target); });

  const auto all = whenAll(send(100));

  ASSERT_TRUE(all.wait(patience));
  const auto responses = all.get();
  ASSERT_EQ(responses.size(), 100U);
  for (std::size_t number = 0; number < 100; ++number)
    EXPECT_EQ(responses[number].body.text(), "/" + std::to_string(number));
}

TEST_F(CompositionTest, cancelsAHundredRequestsWhenOneFails) {
  server.handleAll([this](const auto& request) { return request.target == "/50" ? MockResponse(404) : held(); });
  const auto sent = send(100);

  const auto all = whenAll(sent);

  ASSERT_TRUE(errorOf(all));
  EXPECT_EQ(*errorOf(all)->as<HTTPResponseError>(), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  for (std::size_t number = 0; number < 100; ++number) {
    EXPECT_TRUE(sent[number].isCompleted());
    EXPECT_EQ(wasCancelled(sent[number]), number != 50) << number;
  }
  Corvane::resetSessions();
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(CompositionTest, takesResponsesOfSeveralKinds) {
  server.handle("/user", [](const auto&) { return MockResponse(200).json(R"({"login": "ada"})"); });
  server.handle("/broken", [](const auto&) { return MockResponse(500); });
  struct User {
    std::string login;
  };
  const JSONGetRequest<User> user(server.url("/user"));

  const auto both = whenAll(user.send(), get("/broken").send(wholeResponse));

  ASSERT_TRUE(both.wait(patience));
  const auto [found, broken] = both.get();
  EXPECT_EQ(found.body.login, "ada");
  EXPECT_EQ(broken.statusCode(), 500);
}

TEST_F(CompositionTest, takesTheFirstOfTwoServers) {
  server.handle("/slow", [this](const auto&) { return held(); });
  server.handle("/fast", [](const auto&) { return MockResponse(200).text("fast"); });
  const auto slow = get("/slow").send();

  const auto first = whenAny(slow, get("/fast").send());

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(std::get<1>(first.get()).body.text(), "fast");
  EXPECT_TRUE(wasCancelled(slow));
}

TEST_F(CompositionTest, takesTheServerThatSucceeds) {
  server.handle("/broken", [](const auto&) { return MockResponse(503); });
  server.handle("/fine", [this](const auto&) { return held().text("fine"); });
  const auto broken = get("/broken").send();
  const auto first = whenAnySucceeds(std::vector{broken, get("/fine").send()});
  ASSERT_TRUE(broken.wait(patience));

  latch.open();

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index, 1U);
  EXPECT_EQ(first.get().value.body.text(), "fine");
}

Task<int> sumOfLengths(Get one, Get two) {
  const auto [first, second] = co_await whenAll(one.send(), two.send());
  co_return static_cast<int>(first.body.count() + second.body.count());
}

TEST_F(CompositionTest, isAwaitedByATask) {
  server.handleAll([](const auto& request) { return MockResponse(200).text(request.target); });

  EXPECT_EQ(sumOfLengths(get("/a"), get("/bc")).get(), 5);
}

TEST_F(CompositionTest, isCancelledWithTheTask) {
  server.handleAll([this](const auto&) { return held(); });
  const auto task = sumOfLengths(get("/a"), get("/bc"));
  ASSERT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 2; }));

  task.cancel();

  EXPECT_TRUE(wasCancelled<int>(task));
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(CompositionTest, boundsWhatTakesSeveralRequests) {
  ManualClock clock;
  server.handleAll([this](const auto&) { return held(); });

  const auto bounded = withTimeout(5s, sumOfLengths(get("/a"), get("/bc")));
  ASSERT_TRUE(clock.waitForTimers(1));
  ASSERT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 2; }));
  clock.advance(5);

  const Error* error = errorOf(bounded);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain(), platform::NSURLErrorDomain);
  EXPECT_EQ(error->code(), platform::URLErrorCode::timedOut);
  EXPECT_EQ(error->message(), "the time-out passed: it was not over after 5 seconds");
  EXPECT_TRUE(isTransient(*error, nullptr));
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(CompositionTest, isOverWhenARequestIsNotToBeSent) {
  server.handleAll([](const auto&) { return MockResponse(200); });
  Get unsent = get();
  unsent.shouldSend = false;

  const Error* error = errorOf(whenAll(get().send(), unsent.send()));

  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), platform::URLErrorCode::cancelled);
}

TEST_F(CompositionTest, takesTheServerThatSucceedsWhereARequestIsNotToBeSent) {
  server.handleAll([](const auto&) { return MockResponse(200).text("fine"); });
  Get unsent = get();
  unsent.shouldSend = false;

  const auto first = whenAnySucceeds(unsent.send(), get().send());

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(std::get<1>(first.get()).body.text(), "fine");
}

}  // namespace
}  // namespace corvane
