#include "Platform/Networking/Pool/ConnectionPool.hpp"

#include <deque>

#include "CorvaneTesting/Ports.hpp"
#include "Platform/Networking/Pool/HostConnections.hpp"
#include "PoolHarness.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kept = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfine";
constexpr std::string_view closing = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 4\r\n\r\nlast";
constexpr std::string_view forged = "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged";

TEST_F(ConnectionPoolTest, usesAConnectionAgain) {
  PooledGet first(pool);
  PooledGet second(pool);
  submit(first);
  const auto connection = nextConnection();
  connection->write(kept);
  ASSERT_TRUE(run([&] { return first.isOver(); }));

  submit(second);
  connection->write(kept);

  ASSERT_TRUE(run([&] { return second.isOver(); }));
  EXPECT_TRUE(second.exchange.metrics().isConnectionReused);
  EXPECT_EQ(peer.accept(), nullptr);
}

/// The exchange that ends makes the pool look for a connection while the loop has yet to tell that another one is
/// readable: what can be read there was sent before the request.
TEST_F(ConnectionPoolTest, takesNoConnectionOnWhichUnaskedBytesCameInTheSameIteration) {
  PooledGet idle(pool);
  PooledGet busy(pool);
  PooledGet next(pool);
  submit(idle);
  const auto idleConnection = nextConnection();
  submit(busy);
  const auto busyConnection = nextConnection();
  idleConnection->write(kept);
  ASSERT_TRUE(run([&] { return idle.isOver(); }));
  busy.then = [&] { submit(next); };

  busyConnection->write(closing);
  idleConnection->write(forged);
  ASSERT_TRUE(run([&] { return busy.isOver(); }));
  const auto fresh = nextConnection();
  ASSERT_TRUE(fresh);
  fresh->write(kept);

  ASSERT_TRUE(run([&] { return next.isOver(); }));
  EXPECT_EQ(next.body, "fine");
  EXPECT_TRUE(idleConnection->hasEnded());
}

TEST_F(ConnectionPoolTest, letsNoTimePassWhileItsBodyIsNotWanted) {
  PooledGet get(pool);
  submit(get);
  const auto connection = nextConnection();
  connection->write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n01234");
  ASSERT_TRUE(run([&] { return get.body.size() == 5; }));

  get.exchange.setReading(false);
  pass(2 * timeout);
  connection->write("5");
  pass(2 * timeout);
  EXPECT_FALSE(get.isOver());
  EXPECT_EQ(get.body, "01234");

  get.exchange.setReading(true);
  ASSERT_TRUE(run([&] { return get.body.size() == 6; }));
  pass(timeout - 1ms);
  EXPECT_FALSE(get.isOver());
  pass(1ms);
  ASSERT_TRUE(get.isOver());
  EXPECT_EQ(get.problem->kind, ExchangeProblem::Kind::timedOut);
}

TEST_F(ConnectionPoolTest, endsAtOnceWhenItIsWithdrawnWhileItsBodyIsNotWanted) {
  PooledGet get(pool);
  submit(get);
  const auto connection = nextConnection();
  connection->write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n01234");
  ASSERT_TRUE(run([&] { return get.body.size() == 5; }));
  get.exchange.setReading(false);
  connection->write("56789");

  pool.withdraw(get.exchange);

  EXPECT_TRUE(run([&] { return connection->hasEnded(); }));
  EXPECT_FALSE(get.isOver());
  PooledGet next(pool);
  submit(next);
  EXPECT_TRUE(nextConnection());
  pool.withdraw(next.exchange);
}

TEST_F(ConnectionPoolTest, asksNoTrustOfAConnectionInTheClear) {
  pool.context()->forget();
  PooledGet get(pool);
  submit(get);
  const auto connection = nextConnection();
  ASSERT_TRUE(connection);
  connection->write(kept);

  ASSERT_TRUE(run([&] { return get.isOver(); }));
  EXPECT_EQ(get.body, "fine");
}

TEST_F(ConnectionPoolTest, keepsNoConnectionWhoseEndTheRequestAskedFor) {
  PooledGet get(pool);
  get.fields = {{"connection", "Close"}};
  submit(get);
  const auto connection = nextConnection();
  connection->write(kept);

  ASSERT_TRUE(run([&] { return get.isOver(); }));
  EXPECT_EQ(get.body, "fine");
  EXPECT_TRUE(connection->hasEnded());
}

TEST_F(ConnectionPoolTest, keepsAnIdleConnectionForNinetySeconds) {
  PooledGet get(pool);
  submit(get);
  const auto connection = nextConnection();
  connection->write(kept);
  ASSERT_TRUE(run([&] { return get.isOver(); }));

  pass(ConnectionOptions().idleLifetime - 1ms);
  EXPECT_FALSE(connection->hasEnded());
  pass(1ms);

  EXPECT_TRUE(connection->hasEnded());
}

TEST_F(ConnectionPoolTest, countsTheLifetimeOfAnIdleConnectionFromItsLastUse) {
  PooledGet first(pool);
  PooledGet second(pool);
  submit(first);
  const auto connection = nextConnection();
  connection->write(kept);
  ASSERT_TRUE(run([&] { return first.isOver(); }));
  pass(60s);
  submit(second);
  connection->write(kept);
  ASSERT_TRUE(run([&] { return second.isOver(); }));

  pass(89s);
  EXPECT_FALSE(connection->hasEnded());
  pass(1s);

  EXPECT_TRUE(connection->hasEnded());
}

TEST_F(ConnectionPoolTest, endsAnExchangeWhenNothingMovesForItsTimeout) {
  PooledGet get(pool);
  submit(get);
  const auto connection = nextConnection();
  connection->write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
  ASSERT_TRUE(run([&] { return get.status == 200; }));

  // Each byte begins the time anew.
  for (int i = 0; i < 3; ++i) {
    pass(timeout - 1ms);
    EXPECT_FALSE(get.isOver());
    connection->write("x");
    ASSERT_TRUE(run([&] { return get.body.size() == static_cast<std::size_t>(i) + 1; }));
  }
  pass(timeout - 1ms);
  EXPECT_FALSE(get.isOver());
  pass(1ms);

  ASSERT_TRUE(get.problem);
  EXPECT_EQ(get.problem->kind, ExchangeProblem::Kind::timedOut);
  EXPECT_TRUE(connection->hasEnded());
}

/// The first connection to a host may turn out to carry several exchanges; it is not waited for if it hangs.
TEST_F(ConnectionPoolTest, waitsForTheProtocolOfAHostNoLongerThanItsPatience) {
  PooledGet first(pool);
  PooledGet second(pool);
  submit(first, true);
  submit(second, true);
  const auto silent = nextConnection();
  ASSERT_TRUE(silent);

  pass(HostConnections::patience - 1ms);
  EXPECT_EQ(peer.accept(), nullptr);
  pass(1ms);

  EXPECT_TRUE(nextConnection());
  EXPECT_FALSE(first.isOver());
  pool.withdraw(first.exchange);
  pool.withdraw(second.exchange);
}

TEST_F(ConnectionPoolTest, endsAHandshakeThatHangsAfterTheTimeout) {
  PooledGet get(pool);
  submit(get, true);
  const auto silent = nextConnection();
  ASSERT_TRUE(silent);

  pass(timeout - 1ms);
  EXPECT_FALSE(get.isOver());
  pass(1ms);

  ASSERT_TRUE(get.problem);
  EXPECT_EQ(get.problem->kind, ExchangeProblem::Kind::timedOut);
  EXPECT_FALSE(get.problem->requestWasSent);
  EXPECT_TRUE(silent->hasEnded());
}

/// Many hosts are forgotten again; not the one whose failure is being told, which goes on afterwards.
TEST_F(ConnectionPoolTest, anOwnerThatIsToldOfAFailureMayAskForAnotherHostWhereManyAreKnown) {
  constexpr int count = 600;
  const std::uint16_t port = corvane::testkit::unusedPort();
  std::deque<PooledGet> gets;
  std::function<void()> next = [&] {
    const int number = static_cast<int>(gets.size());
    if (number == count) return;
    PooledGet& get = gets.emplace_back(pool);
    get.then = next;
    const std::string host = "127.0." + std::to_string(number / 200) + "." + std::to_string(number % 200 + 1);
    pool.submit(get.exchange, {.origin = {.isSecure = false, .host = host, .port = port}}, timeout, 0);
  };

  next();

  ASSERT_TRUE(run([&] { return gets.size() == count && gets.back().isOver(); }));
  for (const PooledGet& get : gets) {
    ASSERT_TRUE(get.problem);
    EXPECT_EQ(get.problem->kind, ExchangeProblem::Kind::network);
  }
}

}  // namespace
}  // namespace platform::networking
