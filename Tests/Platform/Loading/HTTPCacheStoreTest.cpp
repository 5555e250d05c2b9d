#include "Platform/Loading/Internal/Caching/HTTPCacheStore.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace platform::detail {
namespace {

using Fields = std::vector<networking::FieldView>;

/// Fresh, and so long that four of them fill 40,000 bytes.
std::shared_ptr<const CachedResponse> response(std::string_view body, const Fields& request = {},
                                               networking::TimePoint requested = {}) {
  return CachedResponse::of({.httpVersion = "HTTP/1.1",
                             .fields = {{"Cache-Control", "max-age=60"}, {"Vary", "Accept"}},
                             .body = Data(std::string(body) + std::string(8000, ' ')),
                             .times = {.requested = requested}},
                            request);
}

std::string found(HTTPCacheStore& store, const std::string& key, const Fields& request = {}) {
  const auto response = store.find(key, request);
  return response ? response->body().text().substr(0, 1) : "";
}

TEST(HTTPCacheStoreTest, keysNameTheOriginAndTheTarget) {
  EXPECT_EQ(cacheKey({.isSecure = true, .host = "example.com", .port = 443}, "/a?b"), "https://example.com:443/a?b");
  EXPECT_EQ(cacheKey({.isSecure = false, .host = "example.com", .port = 8080}, "/"), "http://example.com:8080/");
}

TEST(HTTPCacheStoreTest, keysNameTheHostThatTheRequestNames) {
  const networking::Origin origin = {.isSecure = false, .host = "10.0.0.1", .port = 80};

  EXPECT_NE(cacheKey(origin, "/", "a.example"), cacheKey(origin, "/"));
  EXPECT_NE(cacheKey(origin, "/", "a.example"), cacheKey(origin, "/", "b.example"));
  EXPECT_EQ(cacheKey(origin, "/", "A.Example"), cacheKey(origin, "/", "a.example"));
}

TEST(HTTPCacheStoreTest, theLeastRecentlyUsedMakesRoom) {
  HTTPCacheStore store(40000);
  for (const std::string key : {"a", "b", "c", "d"}) store.put(key, response(key), {});
  EXPECT_EQ(found(store, "a"), "a");

  store.put("e", response("e"), {});

  EXPECT_EQ(found(store, "a"), "a");
  EXPECT_EQ(found(store, "b"), "");
  EXPECT_EQ(found(store, "e"), "e");
  EXPECT_EQ(store.count(), 4U);
  EXPECT_LE(store.bytes(), 40000U);
}

TEST(HTTPCacheStoreTest, variantsAreApartAndReplacedEachByItsOwn) {
  HTTPCacheStore store(1 << 20);
  const Fields json = {{"accept", "json"}};
  const Fields text = {{"Accept", "text"}};
  store.put("k", response("1", json), json);
  store.put("k", response("2", text), text);
  store.put("k", response("3", json), json);

  EXPECT_EQ(found(store, "k", json), "3");
  EXPECT_EQ(found(store, "k", text), "2");
  EXPECT_EQ(found(store, "k"), "");
  EXPECT_EQ(store.count(), 2U);

  store.supersede("k", json);
  EXPECT_EQ(found(store, "k", json), "");
  EXPECT_EQ(found(store, "k", text), "2");
}

TEST(HTTPCacheStoreTest, aURLHasSixteenVariantsAtMost) {
  HTTPCacheStore store(16 << 20);
  std::vector<std::string> values;
  for (int index = 0; index < 17; ++index) values.push_back(std::to_string(index));
  for (const std::string& value : values) {
    const Fields request = {{"Accept", value}};
    store.put("k", response("x", request), request);
  }

  EXPECT_EQ(store.count(), 16U);
  EXPECT_EQ(found(store, "k", {{"Accept", "0"}}), "");
  EXPECT_EQ(found(store, "k", {{"Accept", "16"}}), "x");
}

TEST(HTTPCacheStoreTest, knowsWhatWasAskedForLater) {
  HTTPCacheStore store(1 << 20);
  const Fields json = {{"Accept", "json"}};
  const networking::TimePoint early(std::chrono::seconds(1));
  const networking::TimePoint late(std::chrono::seconds(2));
  store.put("k", response("1", json, late), json);

  EXPECT_TRUE(store.hasNewer("k", json, early));
  EXPECT_FALSE(store.hasNewer("k", json, late));
  EXPECT_FALSE(store.hasNewer("k", {}, early));
  EXPECT_FALSE(store.hasNewer("other", json, early));
}

TEST(HTTPCacheStoreTest, whatWasBegunBeforeItWasSupersededIsKnown) {
  HTTPCacheStore store(1 << 20);
  const std::uint64_t before = store.invalidations();
  store.supersede("k", {});

  EXPECT_TRUE(store.wasInvalidated("k", before));
  EXPECT_FALSE(store.wasInvalidated("k", store.invalidations()));
}

TEST(HTTPCacheStoreTest, ofTwoThatFitTheOneConfirmedLastIsFound) {
  HTTPCacheStore store(1 << 20);
  const Fields json = {{"Accept", "json"}};
  const Fields text = {{"Accept", "text"}};
  const auto forJSON = response("1", json);
  store.put("k", forJSON, json);
  store.put(
      "k",
      CachedResponse::of(
          {.httpVersion = "HTTP/1.1", .fields = {{"Cache-Control", "max-age=60"}}, .body = Data("2"), .times = {}},
          text),
      text);
  EXPECT_EQ(found(store, "k", json), "2");

  store.replace("k", forJSON, response("3", json));

  EXPECT_EQ(found(store, "k", json), "3");
  EXPECT_EQ(store.count(), 2U);
}

TEST(HTTPCacheStoreTest, whatTellsRequestsApartCounts) {
  const std::string token(6000, 'x');

  EXPECT_GE(response("1", {{"Authorization", token}})->bytes(), response("1")->bytes() + 6000);
  EXPECT_GE(response("1", {{"Accept", token}})->bytes(), response("1")->bytes() + 6000);
}

TEST(HTTPCacheStoreTest, invalidationRemovesAllVariantsAndIsCounted) {
  HTTPCacheStore store(1 << 20);
  const Fields json = {{"Accept", "json"}};
  store.put("k", response("1", json), json);
  store.put("k", response("2"), {});
  store.put("other", response("3"), {});

  const std::uint64_t before = store.invalidations();
  store.invalidate("k");
  store.invalidate("nothing");

  EXPECT_EQ(store.count(), 1U);
  EXPECT_EQ(store.invalidations(), before + 2);
  EXPECT_TRUE(store.wasInvalidated("k", before));
  EXPECT_FALSE(store.wasInvalidated("k", before + 1));
  store.invalidate("other");
  EXPECT_TRUE(store.isEmpty());
  EXPECT_EQ(store.bytes(), 0U);
}

TEST(HTTPCacheStoreTest, oneThatIsTooLongRemovesWhatItReplaces) {
  HTTPCacheStore store(40000);
  store.put("k", response("1"), {});
  store.put("k", response(std::string(4000, 'x')), {});

  EXPECT_TRUE(store.isEmpty());
}

TEST(HTTPCacheStoreTest, onlyWhatIsThereIsReplacedByItsRefreshedForm) {
  HTTPCacheStore store(1 << 20);
  const auto before = response("1");
  store.put("k", before, {});
  const auto after = before->refreshed({{"Cache-Control", "max-age=600"}}, {}, {.received = {.wall = 100}});

  store.replace("k", before, after);
  EXPECT_EQ(store.find("k", {}), after);
  store.invalidate("k");
  store.replace("k", after, before);
  EXPECT_TRUE(store.isEmpty());
}

TEST(HTTPCacheStoreTest, aBufferWithMuchRoomIsNotKept) {
  Data body = Data::withCapacity(1 << 20);
  body.append("short");
  const auto stored = CachedResponse::of({.fields = {{"ETag", "\"1\""}}, .body = body}, {});

  EXPECT_EQ(stored->body().text(), "short");
  EXPECT_LT(stored->bytes(), 2048U);
}

}  // namespace
}  // namespace platform::detail
