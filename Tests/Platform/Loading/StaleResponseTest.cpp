#include <string>
#include <utility>
#include <vector>

#include "CacheTest.hpp"

namespace platform {
namespace {

using corvane::testkit::MockResponse;
using Fields = std::vector<std::pair<std::string, std::string>>;

const Fields fresh = {{"Cache-Control", "max-age=60"}, {"ETag", "\"1\""}};

/// RFC 5861.
class StaleResponseTest : public HTTPCacheTest {};

TEST_F(StaleResponseTest, staleResponsesAreValidatedAfterwards) {
  useCache({.servesStaleWhileRevalidating = true});
  store({{"Cache-Control", "max-age=60, stale-while-revalidate=30"}, {"ETag", "\"1\""}});
  static_cast<void>(server.takeRequest());
  clock.advance(90);
  corvane::testkit::Latch latch;
  server.enqueue(response(200, fresh, "second").hold(corvane::testkit::Moment::beforeStatusLine, latch));

  EXPECT_EQ(load(get()).body(), "first");
  EXPECT_EQ(load(get()).body(), "first");
  EXPECT_EQ(server.takeRequest().header("If-None-Match"), "\"1\"");
  latch.open();
  // Over the one connection this comes after the validation.
  server.enqueue(MockResponse(204));
  EXPECT_EQ(load("/other").status(), 204);

  EXPECT_EQ(load(get()).body(), "second");
  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(StaleResponseTest, staleResponsesAreNotReturnedUnlessConfigured) {
  store({{"Cache-Control", "max-age=60, stale-while-revalidate=30, stale-if-error=30"}, {"ETag", "\"1\""}});
  clock.advance(61);
  server.enqueue(MockResponse(503));

  EXPECT_EQ(load(get()).status(), 503);
}

TEST_F(StaleResponseTest, aSessionEndsWhileAResponseIsValidated) {
  useCache({.servesStaleWhileRevalidating = true});
  store({{"Cache-Control", "max-age=60, stale-while-revalidate=30"}, {"ETag", "\"1\""}});
  static_cast<void>(server.takeRequest());
  clock.advance(61);
  corvane::testkit::Latch latch;
  server.enqueue(response(200, fresh, "second").hold(corvane::testkit::Moment::beforeStatusLine, latch));
  EXPECT_EQ(load(get()).body(), "first");
  static_cast<void>(server.takeRequest());

  session->invalidateAndCancel();
  session.reset();

  // The validation ends, too.
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 2);
  latch.open();
}

TEST_F(StaleResponseTest, theValidationAfterwardsIsNotOfTheTraceOfTheRequest) {
  useCache({.servesStaleWhileRevalidating = true});
  store({{"Cache-Control", "max-age=60, stale-while-revalidate=30"}, {"ETag", "\"1\""}});
  static_cast<void>(server.takeRequest());
  clock.advance(61);
  server.enqueue(response(200, fresh, "second"));

  EXPECT_EQ(load(get({{"traceparent", "00-0af7651916cd43dd8448eb211c80319c-b7ad6b7169203331-01"},
                      {"tracestate", "vendor=1"},
                      {"X-Own", "1"}}))
                .body(),
            "first");

  const auto validation = server.takeRequest();
  EXPECT_EQ(validation.header("X-Own"), "1");
  EXPECT_EQ(validation.header("traceparent"), std::nullopt);
  EXPECT_EQ(validation.header("tracestate"), std::nullopt);
}

TEST_F(StaleResponseTest, theValidationAfterwardsEndsWhereTheBodyCannotBeStored) {
  useCache({.capacityBytes = 40000, .servesStaleWhileRevalidating = true});
  store({{"Cache-Control", "max-age=60, stale-while-revalidate=30"}, {"ETag", "\"1\""}});
  static_cast<void>(server.takeRequest());
  clock.advance(61);
  // Nothing but the client ends it.
  server.enqueue(MockResponse(200).generatedBody(100 << 20).stall(corvane::testkit::Moment::insideBody, 0));

  EXPECT_EQ(load(get()).body(), "first");
  static_cast<void>(server.takeRequest());
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(StaleResponseTest, aStaleResponseStandsForFailures) {
  useCache({.servesStaleOnError = true});
  store({{"Cache-Control", "max-age=60, stale-if-error=30"}, {"ETag", "\"1\""}});
  clock.advance(90);
  server.enqueue(MockResponse(503).body("down"));
  EXPECT_EQ(load(get()).body(), "first");
  server.enqueue(MockResponse(404).body("gone"));
  EXPECT_EQ(load(get()).status(), 404);

  store({{"Cache-Control", "max-age=60, stale-if-error=30"}});
  clock.advance(90);
  server.stopListening();
  server.closeIdleConnections();
  EXPECT_EQ(load(get()).body(), "first");
  clock.advance(1);
  EXPECT_TRUE(load(get()).error);
}

TEST_F(StaleResponseTest, doesNotStandForFailuresWhereTheServerIsToBeAsked) {
  useCache({.servesStaleOnError = true});
  store({{"Cache-Control", "max-age=60, stale-if-error=30"}, {"ETag", "\"1\""}});
  clock.advance(61);
  URLRequest repetition = get();
  repetition.isRepetition = true;
  for (const URLRequest& each : {repetition, get({{"Cache-Control", "max-age=0"}})}) {
    server.enqueue(MockResponse(503).body("down"));
    EXPECT_EQ(load(each).status(), 503);
  }
}

TEST_F(StaleResponseTest, isEmptiedWhenTheSessionFinishes) {
  store(fresh);
  corvane::testkit::Latch latch;
  server.enqueue(MockResponse(302).header("Location", "/").hold(corvane::testkit::Moment::beforeStatusLine, latch));
  server.enqueue(response(200, fresh, "second"));
  Load last(session, URLRequest(server.url("/elsewhere")));
  last.resume();
  static_cast<void>(server.takeRequest());
  static_cast<void>(server.takeRequest());
  session->finishTasksAndInvalidate();
  // The loop has seen that once a task that came later was turned away.
  EXPECT_EQ(Load(session, get()).resume().wait().code(), URLErrorCode::cancelled);
  latch.open();

  EXPECT_EQ(last.wait().body(), "second");
}

}  // namespace
}  // namespace platform
