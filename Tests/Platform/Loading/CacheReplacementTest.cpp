#include "CacheTest.hpp"

namespace platform {
namespace {

using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

const CacheFields fresh = {{"Cache-Control", "max-age=60"}, {"ETag", "\"1\""}};

/// What takes the place of a stored response, and what does not.
class CacheReplacementTest : public HTTPCacheTest {
 protected:
  URLRequest reload() const { return get({}, Policy::reloadIgnoringLocalCacheData); }
  /// A reload whose response is held back.
  struct Held {
    Held(CacheReplacementTest& test, MockResponse response) : load(test.session, test.reload()) {
      test.server.enqueue(std::move(response.hold(Moment::beforeStatusLine, latch)));
      const int before = test.server.requestCount();
      load.resume();
      EXPECT_TRUE(test.server.waitForRequests(before + 1));
    }
    Loaded finish() {
      latch.open();
      return load.wait();
    }
    Latch latch;
    Load load;
  };
  void put(const std::string& target, const CacheFields& fields = {}) {
    server.enqueue(MockResponse(204));
    EXPECT_EQ(load(with(request(server.url(target), "PUT", Data("new")), fields)).status(), 204);
  }
  bool isStored(const CacheFields& fields = {}) { return !loadStored(fields).error; }
};

TEST_F(CacheReplacementTest, whatIsGoneIsRemovedAlsoWhereAnotherURLWasChangedMeanwhile) {
  store(fresh);
  Held held(*this, MockResponse(404));
  put("/events");
  EXPECT_EQ(held.finish().status(), 404);

  EXPECT_FALSE(isStored());
}

TEST_F(CacheReplacementTest, changesOfOtherURLsKeepNothingFromBeingStored) {
  store(fresh);
  Held held(*this, response(200, fresh, "second"));
  put("/events");
  EXPECT_EQ(held.finish().body(), "second");

  EXPECT_EQ(loadStored().body(), "second");
}

TEST_F(CacheReplacementTest, whatWasAskedForLaterStays) {
  Held slow(*this, response(200, fresh, "old"));
  server.enqueue(response(200, fresh, "new"));
  EXPECT_EQ(load(reload()).body(), "new");

  EXPECT_EQ(slow.finish().body(), "old");
  EXPECT_EQ(loadStored().body(), "new");
}

TEST_F(CacheReplacementTest, whatWasAskedForLaterIsNotRemoved) {
  Held slow(*this, MockResponse(404));
  server.enqueue(response(200, fresh, "new"));
  EXPECT_EQ(load(reload()).body(), "new");

  EXPECT_EQ(slow.finish().status(), 404);
  EXPECT_EQ(loadStored().body(), "new");
}

TEST_F(CacheReplacementTest, whatWasAskedForBeforeARemovalIsNotStoredAfterIt) {
  for (const bool isGone : {true, false}) {
    Held slow(*this, response(200, fresh, "old"));
    server.enqueue(isGone ? MockResponse(410) : response(200, {{"Cache-Control", "no-store"}}, "secret"));
    EXPECT_EQ(load(reload()).status(), isGone ? 410 : 200);

    EXPECT_EQ(slow.finish().body(), "old");
    EXPECT_FALSE(isStored()) << isGone;
  }
}

TEST_F(CacheReplacementTest, failuresToTellWhatThereIsRemoveNothing) {
  store(fresh);
  for (const int status : {400, 401, 403, 408, 429, 500, 503}) {
    server.enqueue(MockResponse(status));
    EXPECT_EQ(load(reload()).status(), status);
    EXPECT_TRUE(isStored()) << status;
  }
}

TEST_F(CacheReplacementTest, aFailureWithATagAndNoTimeRemovesNothing) {
  store(fresh);
  for (const int status : {405, 500, 501}) {
    server.enqueue(response(status, {{"Cache-Control", "private, max-age=0"}, {"ETag", "\"e\""}}, "failure"));
    EXPECT_EQ(load(reload()).status(), status);

    EXPECT_EQ(loadStored().body(), "first") << status;
  }
}

TEST_F(CacheReplacementTest, whatIsGoneIsRemoved) {
  for (const int status : {204, 302, 404, 410}) {
    store(fresh);
    server.enqueue(MockResponse(status).header("Cache-Control", "no-store"));
    EXPECT_EQ(load(reload()).status(), status);
    EXPECT_FALSE(isStored()) << status;
  }
}

TEST_F(CacheReplacementTest, aChangeAtOneHostLeavesWhatIsStoredOfAnother) {
  const CacheFields a = {{"Host", "a.example"}};
  const CacheFields b = {{"Host", "b.example"}};
  server.enqueue(response(200, fresh, "a"));
  EXPECT_EQ(load(get(a)).body(), "a");
  server.enqueue(response(200, fresh, "b"));
  EXPECT_EQ(load(get(b)).body(), "b");

  put("/", a);

  EXPECT_FALSE(isStored(a));
  EXPECT_EQ(loadStored(b).body(), "b");
}

TEST_F(CacheReplacementTest, aRedirectOfAChangeInvalidates) {
  store(fresh);
  server.enqueue(MockResponse(303).header("Location", "/done"));
  server.enqueue(MockResponse(204));
  EXPECT_EQ(load(request(server.url("/"), "POST", Data("x"))).status(), 204);

  EXPECT_FALSE(isStored());
}

TEST_F(CacheReplacementTest, aBodyThatIsCutOffIsNotStored) {
  server.enqueue(response(200, fresh, "a long body").dropConnection(Moment::insideBody, 3));
  EXPECT_EQ(load(get()).code(), URLErrorCode::networkConnectionLost);

  EXPECT_FALSE(isStored());
}

TEST_F(CacheReplacementTest, aBodyThatMayHaveBeenCutOffIsNotStored) {
  store(fresh);
  server.enqueue(response(200, fresh, "the first half").untilClose());
  EXPECT_EQ(load(reload()).body(), "the first half");

  EXPECT_FALSE(isStored());
}

TEST_F(CacheReplacementTest, aBodyThatCannotBeDecodedIsNotStored) {
  server.enqueue(response(200, fresh, "no gzip").header("Content-Encoding", "gzip"));
  EXPECT_EQ(load(get()).code(), URLErrorCode::cannotDecodeContentData);

  EXPECT_FALSE(isStored());
}

TEST_F(CacheReplacementTest, storedRedirectsInACircleEndAtTheLimit) {
  const CacheFields toB = {{"Cache-Control", "max-age=60"}, {"Location", "/b"}};
  const CacheFields toA = {{"Cache-Control", "max-age=60"}, {"Location", "/"}};
  server.enqueue(response(301, toB, "").contentLength(0));
  server.enqueue(response(301, toA, "").contentLength(0));

  EXPECT_EQ(load(get()).code(), URLErrorCode::httpTooManyRedirects);
  EXPECT_EQ(server.requestCount(), 2);

  const Loaded again = load(get());
  EXPECT_EQ(again.code(), URLErrorCode::httpTooManyRedirects);
  EXPECT_EQ(again.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), false);
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(CacheReplacementTest, onlyIfCachedIsNeverSentWhateverTheTask) {
  const CacheFields only = {{"Cache-Control", "only-if-cached"}};
  EXPECT_EQ(Download(session, get(only)).resume().wait().code(), URLErrorCode::cannotLoadFromNetwork);
  EXPECT_EQ(Upload(session, with(request(server.url("/"), "PUT"), only), Data("x")).resume().wait().code(),
            URLErrorCode::cannotLoadFromNetwork);
  useCache(CacheConfiguration::off());
  EXPECT_EQ(load(get(only)).code(), URLErrorCode::cannotLoadFromNetwork);

  EXPECT_EQ(server.requestCount(), 0);
}

}  // namespace
}  // namespace platform
