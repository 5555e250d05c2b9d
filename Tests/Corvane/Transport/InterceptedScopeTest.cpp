#include <memory>
#include <utility>

#include "CorvaneTesting/ForbiddenNetwork.hpp"
#include "CorvaneTesting/MockNetwork.hpp"
#include "InterceptorFixture.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

/// What a test puts in place of the network stays there for a request that an interceptor keeps for long.
namespace corvane {
namespace {

using testkit::Expectation;

class InterceptedScopeTest : public InterceptorTest {
 protected:
  InterceptedScopeTest() {
    intercept([held = held_, goOn = goOn_](URLRequest request, const Chain& chain) {
      held();
      goOn.wait();
      return chain.send(std::move(request));
    });
  }
  /// Sends while there is a `Scope`, and lets the request go out afterwards.
  template <class Scope>
  Error sentWithin(std::unique_ptr<Scope> scope) {
    const auto future = get("/x").send();
    held_.wait();
    scope.reset();
    goOn_.signal();
    const auto result = future.result();
    return result.error() ? *result.error() : Error("none", 0, "no error");
  }

  const Expectation<void> held_;
  const platform::DispatchSemaphore goOn_{0};
};

TEST_F(InterceptedScopeTest, staysForbiddenAfterTheScope) {
  const Error error = sentWithin(std::make_unique<testkit::ForbiddenNetwork>());

  EXPECT_EQ(error.message(), "network forbidden: GET " + server.url("/x"));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(InterceptedScopeTest, staysWithItsMockNetwork) {
  auto network = std::make_unique<testkit::MockNetwork>();
  network->onAll().respond(testkit::NetworkResponse());

  const Error error = sentWithin(std::move(network));

  EXPECT_EQ(error.message(), "the MockNetwork ended before it responded to GET " + server.url("/x"));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(InterceptedScopeTest, goesToTheNetworkThatThereWasWhenItWasSent) {
  server.enqueue(testkit::MockResponse().text("here"));
  const auto future = get("/x").send();
  held_.wait();
  const testkit::ForbiddenNetwork forbidden;
  goOn_.signal();

  EXPECT_EQ(future.get().body.text(), "here");
}

}  // namespace
}  // namespace corvane
