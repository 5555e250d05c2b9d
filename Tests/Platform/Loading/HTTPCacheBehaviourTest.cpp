#include "HTTPCacheBehaviour.hpp"

namespace platform {
namespace {

using corvane::testkit::ReceivedRequest;

TEST_P(HTTPCacheBehaviourTest, isAsTheTableSays) {
  const CacheBehaviour& behaviour = GetParam();
  server.enqueue(response(behaviour.status, behaviour.response, "first"));
  ASSERT_EQ(load(get(behaviour.firstRequest, behaviour.firstPolicy)).status(), behaviour.status);
  clock.advance(behaviour.secondsLater);
  clock.setWallBy(behaviour.wallSetBy);
  const bool isSent = behaviour.then == Then::sent || behaviour.then == Then::validated;
  if (isSent) server.enqueue(response(200, {}, "second"));

  URLRequest second = get(behaviour.secondRequest, behaviour.secondPolicy);
  second.httpMethod = behaviour.secondMethod;
  second.isRepetition = behaviour.isRepetition;
  const Loaded loaded = load(second);

  EXPECT_EQ(server.requestCount(), isSent ? 2 : 1);
  if (behaviour.then == Then::failed) {
    EXPECT_EQ(loaded.code(), URLErrorCode::cannotLoadFromNetwork);
    return;
  }
  ASSERT_FALSE(loaded.error) << loaded.message();
  const bool hasBody = behaviour.secondMethod != "HEAD";
  EXPECT_EQ(loaded.body(), !hasBody ? "" : isSent ? "second" : "first");
  if (!isSent) {
    EXPECT_EQ(loaded.status(), behaviour.status);
    EXPECT_TRUE(loaded.http().value("Age"));
    return;
  }
  static_cast<void>(server.takeRequest());
  const ReceivedRequest sent = server.takeRequest();
  const bool hasConditions = sent.header("If-None-Match") || sent.header("If-Modified-Since");
  EXPECT_EQ(hasConditions, behaviour.then == Then::validated);
}

}  // namespace
}  // namespace platform
