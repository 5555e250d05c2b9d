#include "Platform/Loading/Internal/CookieJar.hpp"

#include <gtest/gtest.h>

#include <string>

#include "Platform/Loading/Internal/SetCookie.hpp"

namespace platform::detail {
namespace {

using networking::Origin;

const Origin shop{.isSecure = true, .host = "www.shop.example", .port = 443};
const Origin plainShop{.isSecure = false, .host = "www.shop.example", .port = 80};

std::string cookiesFor(CookieJar& jar, const Origin& origin, std::string_view target = "/") {
  std::string out;
  jar.appendTo(out, origin, target);
  return out;
}

TEST(CookieJarTest, givesBackWhatAHostSet) {
  CookieJar jar;
  jar.store("a=1", shop, "/");
  jar.store("b=2; HttpOnly; SameSite=Lax", shop, "/");

  EXPECT_EQ(cookiesFor(jar, shop), "a=1; b=2");
}

TEST(CookieJarTest, keepsACookieOfAHostFromOtherHosts) {
  CookieJar jar;
  jar.store("a=1", shop, "/");

  EXPECT_EQ(cookiesFor(jar, {true, "shop.example", 443}), "");
  EXPECT_EQ(cookiesFor(jar, {true, "deep.www.shop.example", 443}), "");
  EXPECT_EQ(cookiesFor(jar, {true, "other.example", 443}), "");
}

TEST(CookieJarTest, sharesACookieOfADomainWithTheHostsInIt) {
  CookieJar jar;
  jar.store("a=1; Domain=.Shop.Example", shop, "/");

  EXPECT_EQ(cookiesFor(jar, {true, "shop.example", 443}), "a=1");
  EXPECT_EQ(cookiesFor(jar, {true, "deep.www.shop.example", 443}), "a=1");
  EXPECT_EQ(cookiesFor(jar, {true, "bookshop.example", 443}), "");
}

TEST(CookieJarTest, refusesADomainThatTheHostIsNotIn) {
  CookieJar jar;
  jar.store("a=1; Domain=other.example", shop, "/");
  jar.store("b=1; Domain=deep.www.shop.example", shop, "/");
  jar.store("c=1; Domain=op.example", shop, "/");

  EXPECT_EQ(jar.count(), 0U);
}

TEST(CookieJarTest, refusesADomainThatIsAPublicSuffix) {
  CookieJar jar;
  jar.store("a=1; Domain=co.uk", {true, "www.shop.co.uk", 443}, "/");
  jar.store("b=1; Domain=example", shop, "/");

  EXPECT_EQ(jar.count(), 0U);
}

TEST(CookieJarTest, keepsACookieOfAHostThatIsItselfAPublicSuffix) {
  CookieJar jar;
  const Origin local{false, "localhost", 80};
  jar.store("a=1; Domain=localhost", local, "/");

  EXPECT_EQ(cookiesFor(jar, local), "a=1");
  EXPECT_EQ(cookiesFor(jar, {false, "x.localhost", 80}), "");
}

TEST(CookieJarTest, takesNoAddressForADomain) {
  CookieJar jar;
  jar.store("a=1; Domain=0.0.1", {false, "127.0.0.1", 80}, "/");
  jar.store("b=2; Domain=127.0.0.1", {false, "127.0.0.1", 80}, "/");

  EXPECT_EQ(cookiesFor(jar, {false, "127.0.0.1", 80}), "b=2");
}

TEST(CookieJarTest, keepsTheZoneOfAnAddressOutOfTheDomainThatItIsNamedAs) {
  CookieJar jar;
  const Origin linkLocal{true, "fe80::1%x.shop.example", 443};
  jar.store("a=1; Domain=shop.example", linkLocal, "/");
  jar.store("b=2; Domain=shop.example", shop, "/");

  EXPECT_EQ(cookiesFor(jar, shop), "b=2");
  EXPECT_EQ(cookiesFor(jar, linkLocal), "");
}

TEST(CookieJarTest, sendsByPathTheLongestFirst) {
  CookieJar jar;
  jar.store("root=1; Path=/", shop, "/");
  jar.store("docs=2; Path=/docs", shop, "/");
  jar.store("web=3; Path=/docs/web", shop, "/");

  EXPECT_EQ(cookiesFor(jar, shop, "/docs/web/x?q=/y"), "web=3; docs=2; root=1");
  EXPECT_EQ(cookiesFor(jar, shop, "/docsy"), "root=1");
  EXPECT_EQ(cookiesFor(jar, shop, "/docs/"), "docs=2; root=1");
}

TEST(CookieJarTest, takesTheFolderOfTheRequestWhereNoPathIsSaid) {
  CookieJar jar;
  jar.store("a=1", shop, "/docs/page?x=/y/z");
  jar.store("b=1; Path=relative", shop, "/docs/page");

  EXPECT_EQ(cookiesFor(jar, shop, "/docs/other"), "a=1; b=1");
  EXPECT_EQ(cookiesFor(jar, shop, "/"), "");
}

TEST(CookieJarTest, replacesACookieAndKeepsItsAge) {
  CookieJar jar;
  jar.store("a=1", shop, "/");
  jar.store("b=2", shop, "/");
  jar.store("a=3", shop, "/");

  EXPECT_EQ(cookiesFor(jar, shop), "a=3; b=2");
}

TEST(CookieJarTest, removesACookieThatIsSetToHaveExpired) {
  CookieJar jar;
  jar.store("a=1", shop, "/");
  jar.store("b=1", shop, "/");
  jar.store("a=; Max-Age=0", shop, "/");
  jar.store("b=; Expires=Thu, 01 Jan 1970 00:00:00 GMT", shop, "/");

  EXPECT_EQ(jar.count(), 0U);
}

TEST(CookieJarTest, sendsASecureCookieOverTLSOnly) {
  CookieJar jar;
  jar.store("a=1; Secure", shop, "/");

  EXPECT_EQ(cookiesFor(jar, shop), "a=1");
  EXPECT_EQ(cookiesFor(jar, plainShop), "");
}

TEST(CookieJarTest, takesNoSecureCookieOverAPlainConnection) {
  CookieJar jar;
  jar.store("a=1; Secure", plainShop, "/");

  EXPECT_EQ(jar.count(), 0U);
}

TEST(CookieJarTest, letsAPlainConnectionReplaceNoSecureCookie) {
  CookieJar jar;
  jar.store("a=safe; Secure; Domain=shop.example", shop, "/");
  jar.store("a=forged", plainShop, "/");
  jar.store("a=forged; Domain=shop.example", plainShop, "/x/y");

  EXPECT_EQ(cookiesFor(jar, shop, "/x/y"), "a=safe");
}

TEST(CookieJarTest, holdsNamesToTheirPrefix) {
  CookieJar jar;
  jar.store("__Secure-a=1", shop, "/");
  jar.store("__Host-b=1; Secure; Path=/; Domain=shop.example", shop, "/");
  jar.store("__Host-c=1; Secure", shop, "/docs/x");
  jar.store("=__Host-d=1", shop, "/");
  jar.store("__host-e=1; Secure; Path=/", shop, "/");
  jar.store("__Secure-f=1; Secure", shop, "/");

  EXPECT_EQ(cookiesFor(jar, shop), "__host-e=1; __Secure-f=1");
}

TEST(CookieJarTest, boundsTheCookiesOfADomain) {
  CookieJar jar;
  for (int i = 0; i < 1000; ++i) jar.store("c" + std::to_string(i) + "=1", shop, "/");

  EXPECT_EQ(jar.count(), CookieJar::maximumOfDomain);
  EXPECT_TRUE(cookiesFor(jar, shop).starts_with("c820=1; "));
}

TEST(CookieJarTest, boundsAllCookies) {
  CookieJar jar;
  for (int i = 0; i < 5000; ++i) jar.store("c=1", {true, "h" + std::to_string(i) + ".example", 443}, "/");

  EXPECT_EQ(jar.count(), CookieJar::maximumInAll);
}

TEST(SetCookieTest, readsNameValueAndAttributes) {
  const auto cookie = SetCookie::parse("  id = a=b ; PATH = /x ;secure; Domain=.H.Example;Max-Age= 60 ", 1000);

  ASSERT_TRUE(cookie);
  EXPECT_EQ(cookie->name, "id");
  EXPECT_EQ(cookie->value, "a=b");
  EXPECT_EQ(cookie->path, "/x");
  EXPECT_EQ(cookie->domain, "h.example");
  EXPECT_TRUE(cookie->isSecure);
  EXPECT_EQ(cookie->expiry, 1060);
}

TEST(SetCookieTest, takesTextWithoutAnEqualsSignForAValue) {
  const auto cookie = SetCookie::parse("token; Path=/", 0);

  ASSERT_TRUE(cookie);
  EXPECT_EQ(cookie->name, "");
  EXPECT_EQ(cookie->value, "token");
}

TEST(SetCookieTest, ignoresWhatIsNoCookie) {
  EXPECT_FALSE(SetCookie::parse("", 0));
  EXPECT_FALSE(SetCookie::parse("=", 0));
  EXPECT_FALSE(SetCookie::parse(std::string_view("a=1\0b", 5), 0));
  EXPECT_FALSE(SetCookie::parse("a=\x01", 0));
  EXPECT_FALSE(SetCookie::parse("a=" + std::string(4096, 'x'), 0));
  EXPECT_TRUE(SetCookie::parse("a=" + std::string(4095, 'x'), 0));
}

TEST(SetCookieTest, letsMaxAgeWinOverExpires) {
  EXPECT_EQ(SetCookie::parse("a=1; Max-Age=5; Expires=Thu, 01 Jan 1970 00:00:01 GMT", 10)->expiry, 15);
  EXPECT_EQ(SetCookie::parse("a=1; Max-Age=five; Expires=Thu, 01 Jan 1970 00:00:01 GMT", 10)->expiry, 1);
}

TEST(SetCookieTest, boundsTheFuture) {
  constexpr std::int64_t longest = std::int64_t{400} * 86400;
  EXPECT_EQ(SetCookie::parse("a=1; Max-Age=99999999999999999999", 10)->expiry, 10 + longest);
  EXPECT_EQ(SetCookie::parse("a=1; Expires=Fri, 31 Dec 9999 23:59:59 GMT", 10)->expiry, 10 + longest);
}

TEST(CookieDateTest, readsTheSpellingsOfServers) {
  EXPECT_EQ(cookieDate("Sun, 06 Nov 1994 08:49:37 GMT"), 784111777);
  EXPECT_EQ(cookieDate("Sunday, 06-Nov-94 08:49:37 GMT"), 784111777);
  EXPECT_EQ(cookieDate("Sun Nov  6 08:49:37 1994"), 784111777);
  EXPECT_EQ(cookieDate("1994 november 6 8:49:37"), 784111777);
}

TEST(CookieDateTest, refusesWhatIsNoDate) {
  EXPECT_FALSE(cookieDate(""));
  EXPECT_FALSE(cookieDate("Sun, 31 Feb 2021 08:49:37 GMT"));
  EXPECT_FALSE(cookieDate("Sun, 06 Nov 1994 24:49:37 GMT"));
  EXPECT_FALSE(cookieDate("Sun, 06 Nov 1600 08:49:37 GMT"));
  EXPECT_FALSE(cookieDate("Sun, 06 Nov 1994"));
  EXPECT_FALSE(cookieDate("Sun, 06 Nov 1994 08:49"));
}

}  // namespace
}  // namespace platform::detail
