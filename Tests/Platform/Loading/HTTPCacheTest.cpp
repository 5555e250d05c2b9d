#include <string>
#include <utility>
#include <vector>

#include "CacheTest.hpp"
#include "Platform/Metrics/TaskMetrics.hpp"

namespace platform {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::ReceivedRequest;
using Policy = URLRequestCachePolicy;
using Fields = std::vector<std::pair<std::string, std::string>>;

const Fields fresh = {{"Cache-Control", "max-age=60"}, {"ETag", "\"1\""}};
const Fields stale = {{"Cache-Control", "max-age=0"}, {"ETag", "\"1\""}};

TEST_F(HTTPCacheTest, returnsTheStoredResponseWithItsAgeAndItsMetrics) {
  store({{"Cache-Control", "max-age=60"},
         {"Content-Type", "text/plain"},
         {"Connection", "close, X-Hop"},
         {"X-Hop", "1"}});
  clock.advance(7);

  Load second(session, get());
  const Loaded loaded = second.resume().wait();

  EXPECT_EQ(loaded.body(), "first");
  EXPECT_EQ(loaded.response->mimeType(), "text/plain");
  EXPECT_EQ(loaded.http().value("Age"), "7");
  EXPECT_EQ(loaded.http().value("X-Hop"), std::nullopt);
  EXPECT_EQ(second.task().progress()->fractionCompleted(), 1);
  const auto metrics = second.task().metrics();
  ASSERT_TRUE(metrics);
  ASSERT_EQ(metrics->transactions.size(), 1U);
  EXPECT_TRUE(metrics->transactions.front().isFromCache);
  EXPECT_EQ(metrics->transactions.front().statusCode, 200);
  EXPECT_EQ(metrics->transactions.front().bytes.decodedBody, 5U);
  EXPECT_EQ(metrics->transactions.front().bytes.requestHead, 0U);
}

TEST_F(HTTPCacheTest, returnsWhatTheServerConfirmsWithTheFieldsOfBoth) {
  store({{"Cache-Control", "max-age=60"},
         {"ETag", "\"1\""},
         {"Last-Modified", tenHoursBefore},
         {"Age", "5"},
         {"X-Old", "1"},
         {"X-Both", "old"}});
  clock.advance(60);
  server.enqueue(
      MockResponse(304).header("Cache-Control", "max-age=10").header("ETag", "\"1\"").header("X-Both", "new"));

  Load second(session, get());
  const Loaded confirmed = second.resume().wait();
  clock.advance(9);
  const Loaded third = load(get());

  EXPECT_EQ(server.requestCount(), 2);
  static_cast<void>(server.takeRequest());
  const ReceivedRequest validation = server.takeRequest();
  EXPECT_EQ(validation.header("If-None-Match"), "\"1\"");
  EXPECT_EQ(validation.header("If-Modified-Since"), tenHoursBefore);
  EXPECT_EQ(confirmed.status(), 200);
  EXPECT_EQ(confirmed.body(), "first");
  EXPECT_EQ(confirmed.http().value("X-Old"), "1");
  EXPECT_EQ(confirmed.http().value("X-Both"), "new");
  EXPECT_EQ(confirmed.http().value("Age"), "0");
  EXPECT_EQ(third.http().value("Age"), "9");
  const auto metrics = second.task().metrics();
  ASSERT_EQ(metrics->transactions.size(), 2U);
  EXPECT_EQ(metrics->transactions.front().statusCode, 304);
  EXPECT_FALSE(metrics->transactions.front().isFromCache);
  EXPECT_TRUE(metrics->transactions.back().isFromCache);
}

TEST_F(HTTPCacheTest, aNewResponseTakesThePlaceOfTheStoredOne) {
  store(stale);
  server.enqueue(response(200, fresh, "second"));
  EXPECT_EQ(load(get()).body(), "second");

  EXPECT_EQ(load(get()).body(), "second");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(HTTPCacheTest, aResponseThatMustNotBeStoredRemovesTheStoredOne) {
  store(fresh);
  server.enqueue(response(200, {{"Cache-Control", "no-store"}}, "second"));
  EXPECT_EQ(load(get({}, Policy::reloadIgnoringLocalCacheData)).body(), "second");

  EXPECT_EQ(load(get({}, Policy::returnCacheDataDontLoad)).code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(HTTPCacheTest, ownConditionsGetTheResponseToThem) {
  store(fresh);
  server.enqueue(MockResponse(304));

  EXPECT_EQ(load(get({{"If-None-Match", "\"1\""}})).status(), 304);
}

TEST_F(HTTPCacheTest, unsafeMethodsInvalidateWhatTheyNameAtTheSameOrigin) {
  for (const std::string target : {"/a", "/b", "/c", "/d"}) {
    server.enqueue(response(200, fresh, target));
    load(target);
  }
  server.enqueue(MockResponse(201).header("Location", "/b").header("Content-Location", server.url("/c")));
  EXPECT_EQ(load(request(server.url("/a"), "POST", Data("x"))).status(), 201);

  const auto isStored = [&](const std::string& target) {
    return !load(with(request(server.url(target), "GET"), {}, Policy::returnCacheDataDontLoad)).error;
  };
  EXPECT_FALSE(isStored("/a"));
  EXPECT_FALSE(isStored("/b"));
  EXPECT_FALSE(isStored("/c"));
  EXPECT_TRUE(isStored("/d"));
}

TEST_F(HTTPCacheTest, unsafeMethodsThatFailInvalidateNothing) {
  store(fresh);
  server.enqueue(MockResponse(403));
  EXPECT_EQ(load(request(server.url("/"), "DELETE")).status(), 403);

  EXPECT_EQ(load(get()).body(), "first");
}

TEST_F(HTTPCacheTest, uploadsAndDownloadsInvalidateAndStoreNothing) {
  store(fresh);
  server.enqueue(response(200, fresh, "file"));
  EXPECT_FALSE(Download(session, get()).resume().wait().error);
  EXPECT_EQ(load(get()).body(), "first");
  server.enqueue(MockResponse(204));
  EXPECT_EQ(Upload(session, request(server.url("/"), "PUT"), Data("x")).resume().wait().status(), 204);

  EXPECT_EQ(load(get({}, Policy::returnCacheDataDontLoad)).code(), URLErrorCode::cannotLoadFromNetwork);
  EXPECT_EQ(Download(session, get({}, Policy::returnCacheDataDontLoad)).resume().wait().code(),
            URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(HTTPCacheTest, whatWasAskedForBeforeAnInvalidationIsNotStored) {
  corvane::testkit::Latch latch;
  server.enqueue(response(200, fresh, "old").hold(corvane::testkit::Moment::beforeStatusLine, latch));
  Load early(session, get());
  early.resume();
  static_cast<void>(server.takeRequest());
  server.enqueue(MockResponse(204));
  EXPECT_EQ(load(request(server.url("/"), "PUT", Data("new"))).status(), 204);
  latch.open();

  EXPECT_EQ(early.wait().body(), "old");
  EXPECT_EQ(load(get({}, Policy::returnCacheDataDontLoad)).code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(HTTPCacheTest, bodiesAreStoredWithoutTheirContentCoding) {
  MockResponse coded = MockResponse().header("Cache-Control", "max-age=60");
  coded.gzipBody("the text");
  server.enqueue(coded);
  EXPECT_EQ(load(get()).body(), "the text");

  EXPECT_EQ(load(get()).body(), "the text");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(HTTPCacheTest, bodiesOverTheShareOfOneAreNotStored) {
  useCache({.capacityBytes = 40000});
  server.enqueue(response(200, fresh, std::string(10001, 'x')));
  EXPECT_EQ(load(get()).data->count(), 10001U);

  EXPECT_EQ(load(get({}, Policy::returnCacheDataDontLoad)).code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(HTTPCacheTest, aStoredBodyIsBoundByTheRequest) {
  store(fresh);
  URLRequest bounded = get();
  bounded.maximumBodyBytes = 4;

  EXPECT_EQ(load(bounded).code(), URLErrorCode::dataLengthExceedsMaximum);
}

TEST_F(HTTPCacheTest, isOffWithoutACapacity) {
  useCache(CacheConfiguration::off());
  store(fresh);
  server.enqueue(response(200, fresh, "second"));

  EXPECT_EQ(load(get()).body(), "second");
  EXPECT_EQ(load(get({}, Policy::returnCacheDataDontLoad)).code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(HTTPCacheTest, cannotHaveANegativeCapacity) {
  URLSessionConfiguration configuration;
  configuration.cache.capacityBytes = -1;
  EXPECT_EQ(configuration.problem(), "The capacity of the cache is negative.");
}

TEST_F(HTTPCacheTest, isTheSessionsOwn) {
  store(fresh);
  const auto other = makeSession();

  EXPECT_EQ(Load(other, get({}, Policy::returnCacheDataDontLoad)).resume().wait().code(),
            URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(HTTPCacheTest, cookiesOfAStoredResponseAreStoredOnce) {
  server.enqueue(
      response(200, {{"Cache-Control", "max-age=60"}, {"Set-Cookie", "a=1; Max-Age=1000; Path=/other"}}, "first"));
  load("/");
  server.enqueue(MockResponse(204).header("Set-Cookie", "a=2; Max-Age=1000; Path=/other"));
  load("/other");
  EXPECT_EQ(load("/").body(), "first");
  server.enqueue(MockResponse(204));
  load("/other");

  EXPECT_EQ(server.requests().back().header("Cookie"), "a=2");
}

TEST_F(HTTPCacheTest, redirectsLeadToStoredResponses) {
  server.enqueue(response(200, fresh, "target"));
  load("/target");
  server.enqueue(MockResponse(302).header("Location", "/target"));

  const Loaded loaded = load("/");

  EXPECT_EQ(loaded.body(), "target");
  ASSERT_EQ(loaded.http().redirects().size(), 1U);
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(HTTPCacheTest, storedRedirectsAreFollowed) {
  server.enqueue(
      MockResponse(301).header("Location", "/target").header("Cache-Control", "max-age=60").contentLength(0));
  server.enqueue(response(200, fresh, "target"));
  load("/");

  EXPECT_EQ(load("/").body(), "target");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(HTTPCacheTest, otherCachesAreToldToReload) {
  server.enqueue(MockResponse(204));
  load(get({}, Policy::reloadIgnoringLocalAndRemoteCacheData));

  EXPECT_EQ(server.takeRequest().header("Cache-Control"), "no-cache");
}

}  // namespace
}  // namespace platform
