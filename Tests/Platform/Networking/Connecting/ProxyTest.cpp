#include "Platform/Networking/Connecting/Proxy.hpp"

#include <gtest/gtest.h>

namespace platform::networking {
namespace {

Proxy proxyExcepting(const char* network) {
  Proxy proxy{.kind = Proxy::Kind::http, .host = "proxy.test", .port = 3128};
  proxy.directNetworks.push_back(AddressNetwork::fromText(network).value());
  return proxy;
}

TEST(ProxyTest, servesNobodyWhereThereIsNone) { EXPECT_FALSE(Proxy().serves("example.test")); }

TEST(ProxyTest, leavesOutADomainWithAllItsHostsAndNoOther) {
  Proxy proxy{.kind = Proxy::Kind::http};
  proxy.directDomains = {"example.test"};

  EXPECT_FALSE(proxy.serves("example.test"));
  EXPECT_FALSE(proxy.serves("a.b.example.test."));
  EXPECT_TRUE(proxy.serves("badexample.test"));
  EXPECT_TRUE(proxy.serves("example.test.org"));
  EXPECT_TRUE(proxy.serves("test"));
}

TEST(ProxyTest, leavesOutANetworkToTheLastBitOfItsPrefix) {
  EXPECT_FALSE(proxyExcepting("10.32.0.0/11").serves("10.63.255.255"));
  EXPECT_TRUE(proxyExcepting("10.32.0.0/11").serves("10.64.0.0"));
  EXPECT_FALSE(proxyExcepting("10.0.0.0/8").serves("::ffff:10.1.2.3"));
  EXPECT_TRUE(proxyExcepting("10.0.0.0/8").serves("10.example.test"));
  EXPECT_FALSE(proxyExcepting("0.0.0.0/0").serves("203.0.113.1"));
  EXPECT_TRUE(proxyExcepting("0.0.0.0/0").serves("2001:db8::1"));
  EXPECT_FALSE(proxyExcepting("2001:db8::/33").serves("2001:db8:7fff::1"));
  EXPECT_TRUE(proxyExcepting("2001:db8::/33").serves("2001:db8:8000::1"));
  EXPECT_FALSE(proxyExcepting("203.0.113.7").serves("203.0.113.7"));
  EXPECT_TRUE(proxyExcepting("203.0.113.7").serves("203.0.113.6"));
}

TEST(ProxyTest, leavesOutAnIPv4NetworkThatIsWrittenAsOneOfIPv6) {
  EXPECT_FALSE(proxyExcepting("::ffff:10.0.0.0/104").serves("10.9.8.7"));
  EXPECT_FALSE(proxyExcepting("::ffff:10.0.0.0/104").serves("::ffff:10.9.8.7"));
  EXPECT_TRUE(proxyExcepting("::ffff:10.0.0.0/104").serves("11.0.0.0"));
  EXPECT_FALSE(proxyExcepting("::ffff:10.1.2.3").serves("::ffff:10.1.2.3"));
  EXPECT_FALSE(proxyExcepting("::ffff:0.0.0.0/96").serves("203.0.113.1"));
  EXPECT_FALSE(AddressNetwork::fromText("::ffff:10.0.0.0/95"));
}

TEST(ProxyTest, takesNoOtherSpellingOfIPv4ForANetwork) {
  for (const char* text : {"10/8", "192.168/16", "010.0.0.0/8", "0x0a.0.0.0/8", "10.0.0.0x0/8", "167772160/8", "10."}) {
    EXPECT_FALSE(AddressNetwork::fromText(text)) << text;
  }
}

TEST(ProxyTest, takesNoNetworkWithAPrefixThatIsTooLong) {
  for (const char* text : {"10.0.0.0/33", "::/129", "10.0.0.0/", "10.0.0.0/-1", "fe80::1%1/64", "example.test/8", ""}) {
    EXPECT_FALSE(AddressNetwork::fromText(text)) << text;
  }
}

TEST(ProxyTest, leavesOutThisMachineUnlessTold) {
  Proxy proxy{.kind = Proxy::Kind::socks5};
  for (const char* host : {"localhost", "a.localhost", "127.9.9.9", "::1"}) EXPECT_FALSE(proxy.serves(host)) << host;

  proxy.exceptsThisMachine = false;
  for (const char* host : {"localhost", "a.localhost", "127.9.9.9", "::1"}) EXPECT_TRUE(proxy.serves(host)) << host;
}

TEST(ProxyTest, neverServesAnAddressWithAZone) {
  EXPECT_FALSE(Proxy{.kind = Proxy::Kind::http}.serves("fe80::1%eth0"));
}

TEST(ProxyTest, servesANameWithAPercentSign) {
  const Proxy proxy{.kind = Proxy::Kind::http};
  for (const char* host : {"a%b.test", "10.0.0.1%lo", "%", "a:b%lo"}) EXPECT_TRUE(proxy.serves(host)) << host;
}

TEST(ProxyTest, forwardsInTheClearAndTunnelsEverythingElse) {
  const Origin plain{.isSecure = false, .host = "a.test", .port = 80};
  const Origin secure{.isSecure = true, .host = "a.test", .port = 443};
  const Proxy http{.kind = Proxy::Kind::http, .host = "proxy.test", .port = 3128};
  const Proxy socks{.kind = Proxy::Kind::socks5, .host = "proxy.test", .port = 1080};

  const Route forwarded = http.routeTo(plain, true);
  EXPECT_EQ(forwarded.way, Route::Way::forwarded);
  EXPECT_EQ(forwarded.origin, (Origin{.isSecure = false, .host = "proxy.test", .port = 3128}));
  EXPECT_EQ(http.routeTo(plain, false), (Route{.origin = plain, .way = Route::Way::tunnelled}));
  EXPECT_EQ(http.routeTo(secure, true), (Route{.origin = secure, .way = Route::Way::tunnelled}));
  EXPECT_EQ(socks.routeTo(plain, true), (Route{.origin = plain, .way = Route::Way::tunnelled}));
}

}  // namespace
}  // namespace platform::networking
