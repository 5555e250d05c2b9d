#include "SecurePeer.hpp"
#include "TestSupport/ScriptedProxy.hpp"

/// HTTP/2 through a proxy.
namespace platform::networking {
namespace {

using corvane::testkit::ScriptedProxy;

class TunnelledConnectionTest : public SecurePoolTest {
 protected:
  TunnelledConnectionTest() {
    proxy.leadTo("service.test", peer.port());
    options.proxy = {.kind = Proxy::Kind::http, .host = "127.0.0.1", .port = proxy.port()};
    tunnelled.emplace(
        loop, resolver, TLSContext::make(), [this](const auto& query) { tunnelled->decide(query, std::nullopt); },
        options);
  }
  void submitThroughProxy(PooledGet& get) {
    const Origin origin{.isSecure = true, .host = "service.test", .port = 443};
    tunnelled->submit(get.exchange, options.routeTo(origin), timeout, 0);
  }

  ScriptedProxy proxy;
  ConnectionOptions options;
  std::optional<ConnectionPool> tunnelled;
};

TEST_F(TunnelledConnectionTest, servesAllExchangesThroughOneTunnel) {
  PooledGet first{*tunnelled};
  PooledGet second{*tunnelled};
  submitThroughProxy(first);
  submitThroughProxy(second);
  SecurePeer& server = nextPeer();
  ASSERT_TRUE(runAll([&] { return server.requestCount() == 2; }));
  respond(server, 0, "one");
  respond(server, 1, "two");

  ASSERT_TRUE(runAll([&] { return first.isOver() && second.isOver(); }));
  EXPECT_EQ(first.body + second.body, "onetwo");
  EXPECT_EQ(proxy.connectionCount(), 1);
}

}  // namespace
}  // namespace platform::networking
