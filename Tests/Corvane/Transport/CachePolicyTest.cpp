#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "Corvane/Insight/HTTPMetrics.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane {
namespace {

using testkit::MockResponse;
using testkit::TestServer;

/// Is for one service.
struct CachedGet : DataGetRequestable<CachedGet> {
  URL url;
  URLRequestCachePolicy cachePolicy = URLRequestCachePolicy::useProtocolCachePolicy;
  std::optional<std::string> sessionConfigurationIdentifier = "cached";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class CachePolicyTest : public ::testing::Test {
 protected:
  CachePolicyTest() {
    server.handleAll([](const testkit::ReceivedRequest&) {
      return MockResponse().header("Cache-Control", "max-age=86400").body("body");
    });
  }
  ~CachePolicyTest() override {
    HTTPClientConfiguration::removeAll();
    Corvane::resetSessions();
  }

  void get() const { EXPECT_EQ(CachedGet{.url = server.url()}.send().get().body.text(), "body"); }

  TestServer server;
};

TEST_F(CachePolicyTest, freshResponsesAreStoredByDefault) {
  get();
  const auto second = CachedGet{.url = server.url()}.send().get();

  EXPECT_EQ(second.body.text(), "body");
  EXPECT_TRUE(second.metrics->transactions.back().isFromCache);
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(CachePolicyTest, aConfigurationTurnsTheCacheOff) {
  HTTPClientConfiguration configuration;
  configuration.cache = CacheConfiguration::off();
  HTTPClientConfiguration::set("cached", configuration);
  get();
  get();

  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(CachePolicyTest, aConfigurationCannotHaveANegativeCapacity) {
  HTTPClientConfiguration configuration;
  configuration.cache.capacityBytes = -1;

  EXPECT_EQ(configuration.problem(), "The capacity of the cache is negative.");
}

TEST_F(CachePolicyTest, resettingSessionsEmptiesTheCache) {
  get();
  Corvane::resetSessions();
  get();

  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(CachePolicyTest, aRequestThatMayNotBeSentFailsWithoutAStoredResponse) {
  const CachedGet request{.url = server.url(), .cachePolicy = URLRequestCachePolicy::returnCacheDataDontLoad};
  const auto failed = request.send().result();
  ASSERT_TRUE(failed.error());
  EXPECT_TRUE(failed.error()->is<CFNetworkErrors>());
  get();

  EXPECT_EQ(request.send().get().body.text(), "body");
  EXPECT_EQ(server.requestCount(), 1);
}

}  // namespace
}  // namespace corvane
