#include "CacheTest.hpp"
#include "Platform/Metrics/TaskMetrics.hpp"

namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;

const CacheFields stale = {{"Cache-Control", "max-age=0"}, {"ETag", "\"1\""}};

/// What a 304 says of the stored response that it confirms (RFC 9111, 4.3.4).
class CacheValidationTest : public HTTPCacheTest {
 protected:
  /// The next request is answered by a 304 with these fields, and gets what is stored.
  void confirmWith(const CacheFields& fields) {
    server.enqueue(response(304, fields, ""));
    EXPECT_EQ(load(get()).body(), "first");
  }
};

TEST_F(CacheValidationTest, whatA304ForbidsToStoreIsServedOnce) {
  store({{"Cache-Control", "max-age=0"}, {"Last-Modified", tenHoursBefore}});
  confirmWith({{"Cache-Control", "no-store"}, {"Date", startDate}});

  EXPECT_EQ(loadStored().code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(CacheValidationTest, whatTheLastOfTwo304sForbidsIsNotKept) {
  store(stale);
  Latch first;
  Latch second;
  server.enqueue(response(304, {{"Cache-Control", "max-age=60"}}, "").hold(Moment::beforeStatusLine, first));
  Load early(session, get());
  early.resume();
  ASSERT_TRUE(server.waitForRequests(2));
  server.enqueue(response(304, {{"Cache-Control", "no-store"}}, "").hold(Moment::beforeStatusLine, second));
  Load late(session, get());
  late.resume();
  ASSERT_TRUE(server.waitForRequests(3));

  first.open();
  EXPECT_EQ(early.wait().body(), "first");
  second.open();
  EXPECT_EQ(late.wait().body(), "first");

  EXPECT_EQ(loadStored().code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(CacheValidationTest, whatA304SaysIsLikeNothingElseIsServedOnce) {
  store(stale);
  confirmWith({{"Cache-Control", "max-age=60"}, {"Vary", "*"}});

  EXPECT_EQ(loadStored().code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(CacheValidationTest, theVaryOfA304Counts) {
  store(stale);
  server.enqueue(response(304, {{"Cache-Control", "max-age=60"}, {"Vary", "Accept-Language"}}, ""));
  EXPECT_EQ(load(get({{"Accept-Language", "de"}})).body(), "first");

  EXPECT_EQ(loadStored({{"Accept-Language", "de"}}).body(), "first");
  EXPECT_EQ(loadStored({{"Accept-Language", "en"}}).code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(CacheValidationTest, aTagThatTheStoredResponseDoesNotHaveIsTaken) {
  store({{"Cache-Control", "max-age=0"}, {"Last-Modified", tenHoursBefore}});
  confirmWith({{"ETag", "\"1\""}});
  static_cast<void>(server.takeRequest());
  static_cast<void>(server.takeRequest());
  confirmWith({});

  EXPECT_EQ(server.takeRequest().header("If-None-Match"), "\"1\"");
}

TEST_F(CacheValidationTest, aWeakFormOfTheTagConfirms) {
  store(stale);
  confirmWith({{"ETag", "W/\"1\""}});

  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(CacheValidationTest, where304NamesAnotherVersionThatIsLoaded) {
  store(stale);
  server.enqueue(response(304, {{"ETag", "\"2\""}}, ""));
  server.enqueue(response(200, {{"Cache-Control", "max-age=60"}, {"ETag", "\"2\""}}, "second"));
  Load second(session, get());

  EXPECT_EQ(second.resume().wait().body(), "second");
  static_cast<void>(server.takeRequest());
  EXPECT_EQ(server.takeRequest().header("If-None-Match"), "\"1\"");
  EXPECT_EQ(server.takeRequest().header("If-None-Match"), std::nullopt);
  EXPECT_EQ(loadStored().body(), "second");
  const auto metrics = second.task().metrics();
  ASSERT_EQ(metrics->transactions.size(), 2U);
  EXPECT_EQ(metrics->transactions.front().statusCode, 304);
  EXPECT_EQ(metrics->transactions.back().statusCode, 200);
  EXPECT_EQ(metrics->transactions.back().cause, TransactionMetrics::Cause::notConfirmed);
}

TEST_F(CacheValidationTest, a304WithoutDateIsOfTheMomentWhenItComes) {
  store({{"Cache-Control", "max-age=60"}, {"ETag", "\"1\""}, {"Date", startDate}});
  clock.advance(3600);
  confirmWith({});
  clock.advance(59);

  EXPECT_EQ(load(get()).body(), "first");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(CacheValidationTest, whatWasInvalidatedMeanwhileIsServedOnce) {
  store(stale);
  Latch latch;
  server.enqueue(response(304, {{"Cache-Control", "max-age=60"}}, "").hold(Moment::beforeStatusLine, latch));
  Load second(session, get());
  second.resume();
  static_cast<void>(server.takeRequest());
  static_cast<void>(server.takeRequest());
  server.enqueue(MockResponse(204));
  EXPECT_EQ(load(request(server.url("/"), "PUT", Data("new"))).status(), 204);
  latch.open();

  EXPECT_EQ(second.wait().body(), "first");
  EXPECT_EQ(loadStored().code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(CacheValidationTest, whatHadToMakeRoomMeanwhileIsServedOnce) {
  URLSessionConfiguration small;
  small.cache.capacityBytes = 40000;
  session = makeSession(std::move(small));
  store(stale);
  Latch latch;
  server.enqueue(response(304, {{"Cache-Control", "max-age=60"}}, "").hold(Moment::beforeStatusLine, latch));
  Load second(session, get());
  second.resume();
  ASSERT_TRUE(server.waitForStall());
  server.handleAll([](const ReceivedRequest&) {
    return MockResponse().header("Cache-Control", "max-age=60").body(std::string(8000, 'x'));
  });
  for (const char* other : {"/1", "/2", "/3", "/4", "/5"}) EXPECT_EQ(load(other).status(), 200);
  latch.open();

  EXPECT_EQ(second.wait().body(), "first");
  EXPECT_EQ(loadStored().code(), URLErrorCode::cannotLoadFromNetwork);
}

}  // namespace
}  // namespace platform
