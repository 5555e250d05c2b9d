#include <gtest/gtest.h>

#include "../Streaming/HTTP2WritingServer.hpp"
#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/TrustedAuthority.hpp"
#include "Platform/Metrics/TaskMetrics.hpp"

/// The cache, where responses come over HTTP/2.
namespace corvane {
namespace {

struct Get : DataGetRequestable<Get> {
  URL url;
  HTTPHeaders headers;
  HTTPHeaders sharedHeaders() const { return headers; }
};

class CacheOverHTTP2Test : public ::testing::Test {
 protected:
  ~CacheOverHTTP2Test() override { Corvane::resetSessions(); }

  HTTPResponse<Data> get(std::string_view target, HTTPHeaders headers = {}) const {
    return Get{.url = server.url(target), .headers = std::move(headers)}.send().get();
  }
  std::string body(std::string_view target, HTTPHeaders headers = {}) const {
    return get(target, std::move(headers)).body.text();
  }

  const testkit::CertificateAuthority authority;
  const testkit::TrustedAuthority trusted{authority};
  const HTTP2WritingServer server{authority, 0};
};

TEST_F(CacheOverHTTP2Test, servesWhatIsFresh) {
  const auto first = get("/fresh");
  EXPECT_EQ(first.body.text(), "1");
  ASSERT_TRUE(first.metrics->transactions.front().connection);
  EXPECT_EQ(first.metrics->transactions.front().connection->protocol, "h2");

  const auto second = get("/fresh");
  EXPECT_EQ(second.body.text(), "1");
  EXPECT_TRUE(second.metrics->transactions.front().isFromCache);
}

TEST_F(CacheOverHTTP2Test, tellsVariantsApart) {
  EXPECT_EQ(body("/fresh", {{"Accept-Language", "en"}}), "1");
  EXPECT_EQ(body("/fresh", {{"Accept-Language", "de"}}), "2");
  EXPECT_EQ(body("/fresh", {{"Accept-Language", "de"}}), "2");
}

TEST_F(CacheOverHTTP2Test, validatesWhatIsStored) {
  EXPECT_EQ(body("/validated"), "1");

  const auto second = get("/validated");

  EXPECT_EQ(second.body.text(), "1");
  ASSERT_EQ(second.metrics->transactions.size(), 2U);
  EXPECT_EQ(second.metrics->transactions[0].statusCode, 304);
  EXPECT_TRUE(second.metrics->transactions[1].isFromCache);
}

TEST_F(CacheOverHTTP2Test, forgetsWhatAnUnsafeRequestMayChange) {
  EXPECT_EQ(body("/fresh"), "1");

  EXPECT_EQ(DataPostRequest(server.url("/fresh"), Data("changed")).send().get().body.text(), "fine");

  EXPECT_EQ(body("/fresh"), "2");
}

}  // namespace
}  // namespace corvane
