#include <memory>
#include <vector>

#include "PoolHarness.hpp"

/// A limit of requests per second to a host.
namespace platform::networking {
namespace {

using namespace std::chrono_literals;

class RequestPaceTest : public ConnectionPoolTest {
 protected:
  RequestPaceTest() {
    ConnectionOptions options;
    options.requestsPerSecond = 10;
    paced =
        std::make_unique<ConnectionPool>(loop, resolver, TLSContext::make(), [](const auto&) {}, std::move(options));
  }
  PooledGet& get(const Peer& host) {
    PooledGet& made = *gets.emplace_back(std::make_unique<PooledGet>(*paced));
    paced->submit(made.exchange, {.origin = {.isSecure = false, .host = "127.0.0.1", .port = host.port()}}, timeout, 0);
    return made;
  }
  static bool hasBegun(const PooledGet& get) { return get.exchange.state() != Exchange::State::admission; }
  void respond(PeerConnection& connection) { connection.write("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfine"); }
  void withdrawAll() {
    for (const auto& each : gets) paced->withdraw(each->exchange);
  }

  Peer other;
  std::unique_ptr<ConnectionPool> paced;
  std::vector<std::unique_ptr<PooledGet>> gets;
};

TEST_F(RequestPaceTest, spacesRequestsEvenlyInTheirOrder) {
  for (int count = 0; count < 4; ++count) get(peer);
  EXPECT_TRUE(hasBegun(*gets[0]));
  EXPECT_FALSE(hasBegun(*gets[1]));

  for (std::size_t next = 1; next < gets.size(); ++next) {
    pass(100ms - 1ns);
    EXPECT_FALSE(hasBegun(*gets[next]));
    pass(1ns);
    EXPECT_TRUE(hasBegun(*gets[next]));
  }
  withdrawAll();
}

TEST_F(RequestPaceTest, holdsUpNoOtherHost) {
  get(peer);
  get(peer);
  get(other);

  EXPECT_FALSE(hasBegun(*gets[1]));
  EXPECT_TRUE(hasBegun(*gets[2]));
  withdrawAll();
}

TEST_F(RequestPaceTest, startsARequestAtOnceAfterAPause) {
  get(peer);
  const auto connection = nextConnection();
  respond(*connection);
  ASSERT_TRUE(run([&] { return gets[0]->isOver(); }));

  pass(1s);
  get(peer);
  get(peer);

  EXPECT_TRUE(hasBegun(*gets[1]));
  EXPECT_FALSE(hasBegun(*gets[2]));
  withdrawAll();
}

TEST_F(RequestPaceTest, letsARequestThatWaitsBeWithdrawn) {
  get(peer);
  get(peer);
  get(peer);

  paced->withdraw(gets[1]->exchange);
  pass(100ms);

  EXPECT_TRUE(hasBegun(*gets[2]));
  withdrawAll();
}

TEST_F(RequestPaceTest, letsNoTimePassForARequestThatWaits) {
  for (int count = 0; count < 700; ++count) get(peer);
  PooledGet& last = *gets.back();
  for (int count = 0; count < 699; ++count) {
    if (count > 0) paced->withdraw(gets[static_cast<std::size_t>(count) - 1]->exchange);
    pass(100ms);
  }

  // It waited for longer than the idle time-out.
  EXPECT_FALSE(last.isOver());
  EXPECT_TRUE(hasBegun(last));
  withdrawAll();
}

TEST_F(RequestPaceTest, countsARequestThatIsRepeated) {
  get(peer);
  auto kept = nextConnection();
  respond(*kept);
  ASSERT_TRUE(run([&] { return gets[0]->isOver(); }));
  pass(1s);
  get(peer);
  ASSERT_TRUE(run([&] { return gets[1]->exchange.requestWasSent(); }));
  get(peer);

  // The kept connection breaks, and the request goes out again.
  kept.reset();
  const auto fresh = nextConnection();
  ASSERT_TRUE(fresh);
  pass(100ms);
  EXPECT_FALSE(hasBegun(*gets[2]));
  pass(100ms);
  EXPECT_TRUE(hasBegun(*gets[2]));
  withdrawAll();
}

TEST_F(RequestPaceTest, letsFewWaitForConnections) {
  const std::size_t most = RequestPace::mostUnsent;
  AdmissionHost host;
  RequestPace pace(*paced, host, 10);
  for (std::size_t unsent = 0; unsent < most; ++unsent) {
    EXPECT_FALSE(pace.isHolding());
    pace.began();
    EXPECT_TRUE(pace.isHolding());
    pass(100ms);
  }
  EXPECT_TRUE(pace.isHolding());
  pass(10s);
  EXPECT_TRUE(pace.isHolding());

  pace.wasSent();
  iterate();
  EXPECT_FALSE(pace.isHolding());
}

}  // namespace
}  // namespace platform::networking
