#include "Platform/Loading/HTTPCookieStorage.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {
namespace {

using std::chrono::system_clock;

HTTPCookie cookie(std::string name, std::string value) {
  HTTPCookie made;
  made.name = std::move(name);
  made.value = std::move(value);
  made.domain = "shop.example";
  return made;
}

std::string namesFor(const HTTPCookieStorage& storage, const char* url) {
  std::string names;
  for (const HTTPCookie& each : storage.cookies(URL(url))) names += each.name + " ";
  return names;
}

TEST(HTTPCookieTest, saysWhatAFieldMeans) {
  const auto made = HTTPCookie::fromSetCookie("id=7; Domain=Shop.Example; Path=/a; Secure; HttpOnly; SameSite=lax",
                                              URL("https://www.shop.example/b/c"));

  ASSERT_TRUE(made);
  EXPECT_EQ(made->name, "id");
  EXPECT_EQ(made->value, "7");
  EXPECT_EQ(made->domain, "shop.example");
  EXPECT_FALSE(made->isHostOnly);
  EXPECT_EQ(made->path, "/a");
  EXPECT_FALSE(made->expires);
  EXPECT_TRUE(made->isSecure);
  EXPECT_TRUE(made->isHTTPOnly);
  EXPECT_EQ(made->sameSite, "Lax");
}

TEST(HTTPCookieTest, takesTheRestFromTheURL) {
  const auto made = HTTPCookie::fromSetCookie("id=7; SameSite=other", URL("http://Shop.example/b/c?x=/y/"));

  ASSERT_TRUE(made);
  HTTPCookie expected = cookie("id", "7");
  expected.path = "/b";
  EXPECT_EQ(*made, expected);
}

TEST(HTTPCookieTest, knowsWhenItExpires) {
  const auto before = system_clock::now();
  const auto soon = HTTPCookie::fromSetCookie("a=1; Max-Age=60", URL("https://shop.example/"));
  const auto past =
      HTTPCookie::fromSetCookie("a=1; Expires=Mon, 01 Jan 1601 00:00:00 GMT", URL("https://shop.example/"));

  ASSERT_TRUE(soon && soon->expires && past && past->expires);
  EXPECT_GE(*soon->expires, before + std::chrono::seconds(58));
  EXPECT_LE(*soon->expires, system_clock::now() + std::chrono::seconds(60));
  EXPECT_LT(*past->expires, before);
}

TEST(HTTPCookieTest, isAbsentForWhatIsToBeIgnored) {
  const char* const fields[] = {"", "a=1; Domain=other.example", "a=1; Domain=example", "__Host-a=1", "a=\x01"};
  for (const char* field : fields)
    EXPECT_FALSE(HTTPCookie::fromSetCookie(field, URL("https://shop.example/"))) << field;
  EXPECT_FALSE(HTTPCookie::fromSetCookie("a=1; Secure", URL("http://shop.example/")));
  EXPECT_FALSE(HTTPCookie::fromSetCookie("a=1", URL("file:///tmp/x")));
}

TEST(HTTPCookieTest, namesWhatCannotBeStored) {
  const auto problem = [](auto change) {
    HTTPCookie made = cookie("a", "1");
    change(made);
    return made.problem();
  };
  EXPECT_EQ(problem([](HTTPCookie&) {}), "");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.name = "", made.value = "a=b"; }), "");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.name = made.value = ""; }), "A cookie has neither a name nor a value.");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.value = "1; b=2"; }),
            "The cookie \"a\" has a name or a value that cannot be sent.");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.value = "1\r\nX: y"; }),
            "The cookie \"a\" has a name or a value that cannot be sent.");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.value = std::string(4096, 'x'); }),
            "The cookie \"a\" is longer than 4096 bytes.");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.domain = ""; }),
            "The cookie \"a\" has a domain that no host can have: \"\".");
  EXPECT_EQ(problem([](HTTPCookie& made) {
              made.domain = "co.uk";
              made.isHostOnly = false;
            }),
            "The cookie \"a\" is for all of \"co.uk\", a public suffix.");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.path = "a"; }),
            "The cookie \"a\" has a path that no URL can have: \"a\".");
  EXPECT_EQ(problem([](HTTPCookie& made) { made.name = "__Secure-a"; }),
            "The cookie \"__Secure-a\" is not what its prefix promises.");
}

TEST(HTTPCookieStorageTest, tellsWhatARequestIsSentWith) {
  HTTPCookieStorage storage;
  HTTPCookie deep = cookie("deep", "1");
  deep.path = "/a/b";
  HTTPCookie secure = cookie("secure", "1");
  secure.isSecure = true;
  HTTPCookie wide = cookie("wide", "1");
  wide.isHostOnly = false;
  for (const HTTPCookie& each : {cookie("plain", "1"), deep, secure, wide}) storage.set(each);

  EXPECT_EQ(namesFor(storage, "https://shop.example/a/b"), "deep plain secure wide ");
  EXPECT_EQ(namesFor(storage, "http://SHOP.example/a"), "plain wide ");
  EXPECT_EQ(namesFor(storage, "https://www.shop.example/"), "wide ");
  EXPECT_EQ(namesFor(storage, "https://other.example/"), "");
  EXPECT_EQ(namesFor(storage, "file:///shop.example"), "");
  EXPECT_EQ(storage.cookies(), (std::vector<HTTPCookie>{cookie("plain", "1"), deep, secure, wide}));
}

TEST(HTTPCookieStorageTest, replacesWhatHasTheSameNameDomainAndPath) {
  HTTPCookieStorage storage;
  storage.set(cookie("a", "1"));
  storage.set(cookie("b", "1"));
  HTTPCookie again = cookie("a", "2");
  again.domain = "SHOP.example";
  storage.set(again);

  EXPECT_EQ(storage.cookies(), (std::vector<HTTPCookie>{cookie("a", "2"), cookie("b", "1")}));
}

TEST(HTTPCookieStorageTest, removes) {
  HTTPCookieStorage storage;
  storage.set(cookie("a", "1"));
  storage.set(cookie("b", "1"));
  HTTPCookie other = cookie("a", "1");
  other.isHostOnly = false;

  EXPECT_FALSE(storage.remove(other));
  EXPECT_TRUE(storage.remove(cookie("a", "another value")));
  EXPECT_FALSE(storage.remove(cookie("a", "1")));
  EXPECT_EQ(storage.cookies(), std::vector<HTTPCookie>{cookie("b", "1")});

  storage.removeAll();
  EXPECT_TRUE(storage.cookies().empty());
  storage.set(cookie("a", "1"));
  EXPECT_EQ(storage.cookies(), std::vector<HTTPCookie>{cookie("a", "1")});
}

TEST(HTTPCookieStorageTest, removesByAnExpiryInThePast) {
  HTTPCookieStorage storage;
  storage.set(cookie("a", "1"));
  HTTPCookie over = cookie("a", "1");
  over.expires = system_clock::now() - std::chrono::seconds(1);
  storage.set(over);
  EXPECT_TRUE(storage.cookies().empty());

  over.expires = system_clock::now() + std::chrono::hours(1);
  storage.set(over);
  EXPECT_EQ(storage.cookies(), std::vector<HTTPCookie>{over});
}

TEST(HTTPCookieStorageTest, refusesWhatCannotBeStored) {
  HTTPCookieStorage storage;
  try {
    storage.set(cookie("a;", "1"));
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), "NSOSStatusErrorDomain");
    EXPECT_EQ(error.code(), -50);
    EXPECT_EQ(error.message(), cookie("a;", "1").problem());
  }
  EXPECT_TRUE(storage.cookies().empty());
}

TEST(HTTPCookieStorageTest, keepsTheLatestOfADomain) {
  HTTPCookieStorage storage;
  for (int i = 0; i <= 180; ++i) storage.set(cookie("c" + std::to_string(i), "1"));

  const auto kept = storage.cookies();
  ASSERT_EQ(kept.size(), 180U);
  EXPECT_EQ(kept.front().name, "c1");
}

TEST(HTTPCookieStorageTest, isUsedOnSeveralThreads) {
  HTTPCookieStorage storage;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&storage, thread] {
      for (int i = 0; i < 100; ++i) {
        const HTTPCookie mine = cookie("of" + std::to_string(thread), std::to_string(i));
        storage.set(mine);
        storage.cookies(URL("https://shop.example/"));
        if (i % 2 == 0) storage.remove(mine);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(storage.cookies().size(), 4U);
}

}  // namespace
}  // namespace platform
