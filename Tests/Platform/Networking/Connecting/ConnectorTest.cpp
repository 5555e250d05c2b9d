#include "ConnectorTest.hpp"

#include <sys/resource.h>

#include <cerrno>

#include "Platform/Networking/Authentication/ProxyDigest.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "TestSupport/DigestVerifier.hpp"
#include "TestSupport/HeldLookUps.hpp"
#include "TestSupport/OpenDescriptors.hpp"
#include "TestSupport/ScriptedProxy.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;
using corvane::testkit::descriptorsWithoutPeer;
using corvane::testkit::DigestVerifier;
using corvane::testkit::HeldLookUps;
using corvane::testkit::MockResponse;
using corvane::testkit::openDescriptors;
using corvane::testkit::runUntil;
using corvane::testkit::ScriptedProxy;
using corvane::testkit::ServerOptions;
using corvane::testkit::SilentPort;
using corvane::testkit::TestServer;
using corvane::testkit::unusedPort;

constexpr std::string_view getRoot = "GET / HTTP/1.1\r\nHost: test\r\n\r\n";

TEST_F(ConnectorTest, connectsToAnAddress) {
  TestServer server;
  server.enqueue(MockResponse(200).body("hello"));

  connect(route("127.0.0.1", server.port()));

  ASSERT_TRUE(owner.open);
  EXPECT_FALSE(owner.open->stream->isSecure());
  EXPECT_EQ(owner.open->protocol, ApplicationProtocol::http1);
  EXPECT_EQ(owner.open->times.nameResolved, TimePoint{});
  EXPECT_GE(owner.open->times.connected, owner.open->times.connectBegun);
  EXPECT_TRUE(exchange(*owner.open->stream, getRoot, "hello").ends_with("\r\n\r\nhello"));
}

TEST_F(ConnectorTest, looksUpAName) {
  TestServer server;

  connect(route(HeldLookUps::localName, server.port()));

  ASSERT_TRUE(owner.open);
  EXPECT_GE(owner.open->times.nameResolved, owner.open->times.lookUpBegun);
  EXPECT_EQ(owner.progress, 1);
  EXPECT_EQ(resolver.keptCount(), 1U);
}

TEST_F(ConnectorTest, progressesWithEachChallengeOfAProxy) {
  TestServer server;
  const auto verifier = std::make_shared<DigestVerifier>("ada", "secret");
  ScriptedProxy proxy({.digest = verifier});
  proxy.leadTo("service.test", server.port());
  connectionOptions.proxy = {.kind = Proxy::Kind::http,
                             .host = "127.0.0.1",
                             .port = proxy.port(),
                             .digest = std::make_shared<ProxyDigest>(DigestUser{.name = "ada", .password = "secret"})};
  Route tunnel = route("service.test", server.port());
  tunnel.way = Route::Way::tunnelled;

  connect(tunnel);

  EXPECT_TRUE(owner.open);
  EXPECT_EQ(owner.progress, 1);
}

TEST_F(ConnectorTest, triesTheOtherFamilyWhenOneRefuses) {
  TestServer server;

  connect(route("localhost", server.port()));

  EXPECT_TRUE(owner.open);
}

/// A host of two addresses, of which the first leaves attempts unanswered.
class SlowAddressTest : public ConnectorTest {
 protected:
  void SetUp() override {
    ServerOptions options;
    options.addresses = {"127.0.0.2"};
    options.port = silent.port();
    server = std::make_unique<TestServer>(options);
    before = openDescriptors().size();
    withoutPeer = descriptorsWithoutPeer().size();
    connector = std::make_unique<Connector>(loop, resolver, connectionOptions, context,
                                            route(HeldLookUps::twofoldName, server->port()), owner);
    connector->start();
    ASSERT_TRUE(runUntil(loop, [&] { return connector->phase() == Connector::Phase::connecting; }));
  }
  void pass(Duration time) {
    clock.advance(time);
    loop.iterate(Duration::zero());
  }

  ManualNetworkClock clock;
  SilentPort silent;
  std::unique_ptr<TestServer> server;
  std::size_t before = 0;
  std::size_t withoutPeer = 0;
};

TEST_F(SlowAddressTest, isGivenAQuarterOfASecondBeforeTheNextIsTried) {
  pass(249ms);
  EXPECT_EQ(openDescriptors().size(), before + 1);

  pass(1ms);

  EXPECT_TRUE(server->waitForConnections(1));
}

TEST_F(SlowAddressTest, isGivenUpWhenAnotherConnects) {
  pass(250ms);

  ASSERT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  ASSERT_TRUE(owner.open);
  ASSERT_TRUE(server->waitForConnections(1));
  EXPECT_EQ(descriptorsWithoutPeer().size(), withoutPeer) << "The other attempt is closed.";
}

TEST_F(ConnectorTest, triesTheNextAddressAtOnceWhenOneRefuses) {
  const ManualNetworkClock stopped;
  ServerOptions options;
  options.addresses = {"127.0.0.2"};
  TestServer server(options);

  connect(route(HeldLookUps::twofoldName, server.port()));

  EXPECT_TRUE(owner.open);
}

TEST_F(ConnectorTest, connectsOverIPv6) {
  ServerOptions options;
  options.addresses = {"::1"};
  TestServer server(options);

  connect(route("::1", server.port()));

  EXPECT_TRUE(owner.open);
}

TEST_F(ConnectorTest, failsWithTheSystemsErrorWhenNobodyListens) {
  connect(route("127.0.0.1", unusedPort()));

  ASSERT_TRUE(owner.failure);
  EXPECT_EQ(owner.failure->cause, FailureCause::cannotConnect);
  EXPECT_EQ(owner.failure->systemError, ECONNREFUSED);
}

TEST_F(ConnectorTest, tellsOfAFailureOnlyAfterStartReturned) {
  Connector early(loop, resolver, connectionOptions, nullptr, route("255.255.255.255", 80), owner);

  early.start();
  EXPECT_FALSE(owner.isDone());

  ASSERT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  EXPECT_EQ(owner.failure->cause, FailureCause::cannotConnect);
}

TEST_F(ConnectorTest, fallsSilentWhenItIsDestroyedBeforeAFailureIsTold) {
  {
    Connector early(loop, resolver, connectionOptions, nullptr, route("255.255.255.255", 80), owner);
    early.start();
  }

  loop.iterate(Duration::zero());

  EXPECT_FALSE(owner.isDone());
}

TEST_F(ConnectorTest, failsWhenTheNameDoesNotExist) {
  connect(route(HeldLookUps::missingName, 80));

  ASSERT_TRUE(owner.failure);
  EXPECT_EQ(owner.failure->cause, FailureCause::nameNotFound);
}

TEST_F(ConnectorTest, forgetsAddressesThatAllFailed) {
  connect(route(HeldLookUps::localName, unusedPort()));

  ASSERT_TRUE(owner.failure);
  EXPECT_EQ(resolver.keptCount(), 0U);
}

TEST_F(ConnectorTest, leavesNothingBehindWhenItIsDestroyedInALookUp) {
  HeldLookUps held;
  auto early =
      std::make_unique<Connector>(loop, resolver, connectionOptions, nullptr, route(HeldLookUps::name, 80), owner);
  early->start();
  ASSERT_TRUE(held.waitForWaiting(1));

  early.reset();
  held.release();
  loop.iterate(Duration::zero());

  EXPECT_FALSE(owner.isDone());
}

TEST_F(ConnectorTest, leavesNoDescriptorBehindWhenItIsDestroyedWhileConnecting) {
  SilentPort silent;
  const std::size_t before = openDescriptors().size();
  auto early =
      std::make_unique<Connector>(loop, resolver, connectionOptions, nullptr, route("127.0.0.1", silent.port()), owner);
  early->start();
  loop.iterate(Duration::zero());
  EXPECT_EQ(early->phase(), Connector::Phase::connecting);
  EXPECT_EQ(openDescriptors().size(), before + 1);

  early.reset();

  EXPECT_EQ(openDescriptors().size(), before);
}

TEST_F(ConnectorTest, saysSoWhenNoDescriptorIsLeft) {
  // No server: its thread would be without descriptors, too. A first failure shows sanitizers the types of a failure;
  // they need descriptors for types that they have not met.
  const std::uint16_t port = unusedPort();
  connect(route("127.0.0.1", port));
  owner = {};
  Connector next(loop, resolver, connectionOptions, context, route("127.0.0.1", port), owner);
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{.rlim_cur = 3, .rlim_max = limit.rlim_max};

  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  next.start();
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);

  ASSERT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  ASSERT_TRUE(owner.failure);
  EXPECT_EQ(owner.failure->cause, FailureCause::outOfDescriptors);
  EXPECT_EQ(owner.failure->systemError, EMFILE);
}

}  // namespace
}  // namespace platform::networking
