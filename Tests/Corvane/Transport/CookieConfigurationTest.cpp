#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "Corvane/Transport/HTTPCookies.hpp"
#include "CorvaneTesting/ServerTest.hpp"

/// The cookies of a configuration, as the application sees them.
namespace corvane {
namespace {

using testkit::MockResponse;
using testkit::ReceivedRequest;

struct GetPage : DataGetRequestable<GetPage> {
  URL url;
  bool shouldWaitForConnectivity = false;
  std::optional<std::string> sessionConfigurationIdentifier = "cookies";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class CookieConfigurationTest : public testkit::ServerTest {
 protected:
  CookieConfigurationTest() {
    server.handle("/set", [](const ReceivedRequest&) { return MockResponse().header("Set-Cookie", "id=7; HttpOnly"); });
    server.handle("/go", [](const ReceivedRequest&) {
      return MockResponse(302).header("Set-Cookie", "hop=1").header("Location", "/show");
    });
    server.handle("/show", [](const ReceivedRequest& request) {
      return MockResponse().text(request.header("Cookie").value_or("none"));
    });
    use({});
  }
  ~CookieConfigurationTest() override { HTTPClientConfiguration::remove("cookies"); }

  void use(HTTPClientConfiguration configuration) {
    configuration.cookies = storage;
    HTTPClientConfiguration::set("cookies", std::move(configuration));
  }
  std::string sent(const std::string& target, bool waits = false) {
    return GetPage{.url = server.url(target), .shouldWaitForConnectivity = waits}.send().get().body.text();
  }
  HTTPCookie cookie(std::string name, std::string value) {
    HTTPCookie made;
    made.name = std::move(name);
    made.value = std::move(value);
    made.domain = URL(server.url("/")).host().value();
    return made;
  }

  const std::shared_ptr<HTTPCookieStorage> storage = std::make_shared<HTTPCookieStorage>();
};

TEST_F(CookieConfigurationTest, showsWhatAServerSet) {
  sent("/set");

  HTTPCookie expected = cookie("id", "7");
  expected.isHTTPOnly = true;
  EXPECT_EQ(storage->cookies(), std::vector<HTTPCookie>{expected});
  EXPECT_EQ(storage->cookies(URL(server.url("/show"))), std::vector<HTTPCookie>{expected});
}

TEST_F(CookieConfigurationTest, sendsWhatTheApplicationSet) {
  storage->set(cookie("theme", "dark"));
  EXPECT_EQ(sent("/show"), "theme=dark");

  storage->set(cookie("theme", "light"));
  EXPECT_EQ(sent("/show"), "theme=light");
  EXPECT_EQ(sent("/go"), "theme=light; hop=1");

  storage->remove(cookie("theme", ""));
  EXPECT_EQ(sent("/show"), "hop=1");
  storage->removeAll();
  EXPECT_EQ(sent("/show"), "none");
}

TEST_F(CookieConfigurationTest, keepsThemWhenSessionsEnd) {
  sent("/set");
  Corvane::resetSessions();
  EXPECT_EQ(sent("/show"), "id=7");

  use({.maximumConnectionsPerHost = 1});
  EXPECT_EQ(sent("/show"), "id=7");
  EXPECT_EQ(sent("/show", true), "id=7");
}

TEST_F(CookieConfigurationTest, areWrittenDownAndSetAgain) {
  const JSONStrategies strategies{.dates = JSONDateStrategy::secondsSince1970};
  HTTPCookie lasting = cookie("lasting", "1");
  // Of a fraction of seconds only what a number in JSON can say.
  lasting.expires = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now() + std::chrono::hours(1));
  storage->set(lasting);
  sent("/set");
  const auto before = storage->cookies();

  const Data text = JSONEncoder(strategies).encode(before);
  storage->removeAll();
  for (const HTTPCookie& each : JSONDecoder(strategies).decode<std::vector<HTTPCookie>>(text)) storage->set(each);

  EXPECT_EQ(storage->cookies(), before);
  EXPECT_EQ(sent("/show"), "lasting=1; id=7");
}

TEST_F(CookieConfigurationTest, givesNoneToOthers) {
  sent("/set");

  EXPECT_EQ(DataGetRequest(server.url("/show")).send().get().body.text(), "none");
}

TEST_F(CookieConfigurationTest, neitherStoresNorSendsThemWhereTheyAreOff) {
  storage->set(cookie("theme", "dark"));
  use({.storesCookies = false});

  sent("/set");

  EXPECT_EQ(sent("/show"), "none");
  EXPECT_EQ(storage->cookies(), std::vector<HTTPCookie>{cookie("theme", "dark")});
}

TEST_F(CookieConfigurationTest, isDiscardedWithTheSessionWithoutAStorage) {
  HTTPClientConfiguration::set("cookies", {});
  sent("/set");
  EXPECT_EQ(sent("/show"), "id=7");

  Corvane::resetSessions();

  EXPECT_EQ(sent("/show"), "none");
}

}  // namespace
}  // namespace corvane
