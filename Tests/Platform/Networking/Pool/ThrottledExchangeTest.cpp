#include <memory>
#include <string>

#include "PoolHarness.hpp"

/// A limit of bytes per second over all connections of a pool.
namespace platform::networking {
namespace {

using namespace std::chrono_literals;

class ThrottledExchangeTest : public ConnectionPoolTest {
 protected:
  ThrottledExchangeTest() {
    ConnectionOptions options;
    options.bytesPerSecond = 1000;
    throttled =
        std::make_unique<ConnectionPool>(loop, resolver, TLSContext::make(), [](const auto&) {}, std::move(options));
    iterate();
  }
  void send(PooledGet& get, Duration idleTimeout = timeout) {
    throttled->submit(get.exchange, {.origin = {.isSecure = false, .host = "127.0.0.1", .port = peer.port()}},
                      idleTimeout, 0);
  }
  static std::string response(std::size_t bytes) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(bytes) + "\r\n\r\n" + std::string(bytes, 'x');
  }
  /// In steps, so that what is due is done when it is.
  void passInSteps(Duration time) {
    for (Duration passed{}; passed < time; passed += 10ms) pass(10ms);
  }

  std::unique_ptr<ConnectionPool> throttled;
};

TEST_F(ThrottledExchangeTest, receivesNoMoreThanItMay) {
  PooledGet get(*throttled);
  send(get);
  const auto connection = nextConnection();
  connection->write(response(5000));
  passInSteps(1s);
  EXPECT_LE(get.body.size(), 1100U);
  EXPECT_GE(get.body.size(), 800U);
  passInSteps(3s);
  EXPECT_LE(get.body.size(), 4100U);
  EXPECT_FALSE(get.isOver());

  passInSteps(2s);
  ASSERT_TRUE(get.isOver());
  EXPECT_FALSE(get.problem);
  EXPECT_EQ(get.body.size(), 5000U);
}

TEST_F(ThrottledExchangeTest, doesNotTimeOutForWhatIsHeldBack) {
  // It is held back for longer than that again and again.
  PooledGet slow(*throttled);
  send(slow, 30ms);
  const auto connection = nextConnection();
  connection->write(response(3000));

  passInSteps(4s);

  ASSERT_TRUE(slow.isOver());
  EXPECT_FALSE(slow.problem);
  EXPECT_EQ(slow.body.size(), 3000U);
}

TEST_F(ThrottledExchangeTest, timesOutForAServerThatIsSilent) {
  PooledGet get(*throttled);
  send(get, 1s);
  const auto connection = nextConnection();
  connection->write("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n" + std::string(300, 'x'));
  passInSteps(600ms);
  EXPECT_EQ(get.body.size(), 300U);

  passInSteps(2s);

  ASSERT_TRUE(get.isOver());
  EXPECT_EQ(get.problem->kind, ExchangeProblem::Kind::timedOut);
}

TEST_F(ThrottledExchangeTest, usesAConnectionAgain) {
  PooledGet get(*throttled);
  send(get);
  const auto connection = nextConnection();
  connection->write(response(2000));
  passInSteps(3s);
  ASSERT_TRUE(get.isOver());

  PooledGet next(*throttled);
  send(next);
  connection->write(response(10));
  passInSteps(1s);

  ASSERT_TRUE(next.isOver());
  EXPECT_TRUE(next.exchange.metrics().isConnectionReused);
}

TEST_F(ThrottledExchangeTest, canBeWithdrawnWhileItIsHeldBack) {
  PooledGet get(*throttled);
  send(get);
  const auto connection = nextConnection();
  connection->write(response(5000));
  passInSteps(300ms);

  throttled->withdraw(get.exchange);
  passInSteps(100ms);

  EXPECT_FALSE(get.isOver());
  EXPECT_TRUE(run([&] { return connection->hasEnded(); }));
}

}  // namespace
}  // namespace platform::networking
