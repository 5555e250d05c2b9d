#include <gtest/gtest.h>

#include "SendFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;

struct Probe : DataHeadRequestable<Probe> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {{"X-App", "1"}}; }
};

class HeadTest : public SendTest {};

TEST_F(HeadTest, asksForTheHeaderFieldsAlone) {
  server.enqueue(MockResponse(200).text("never sent").header("ETag", "\"7\""));

  const auto response = DataHeadRequest(server.url("/manual.pdf")).send().get();

  EXPECT_EQ(server.takeRequest().method, "HEAD");
  EXPECT_EQ(response.status, HTTPStatus::success);
  EXPECT_EQ(response.headers->value("ETag"), "\"7\"");
  EXPECT_EQ(response.expectedContentLength, 10);
  EXPECT_TRUE(response.body.isEmpty());
}

TEST_F(HeadTest, isAMethodOfATypeOfOnesOwn) {
  server.enqueue(MockResponse(204));

  const auto response = responseTo(Probe{.url = server.url("/")});

  EXPECT_EQ(server.takeRequest().header("X-App"), "1");
  EXPECT_EQ(response.status, HTTPStatus::noContent);
}

TEST_F(HeadTest, bearsTheCodingOfABodyThatIsNotThere) {
  server.enqueue(MockResponse(200).header("Content-Encoding", "gzip").header("Content-Length", "1234"));

  const auto response = DataHeadRequest(server.url("/")).send().get();

  EXPECT_EQ(response.headers->value("Content-Encoding"), "gzip");
  EXPECT_TRUE(response.body.isEmpty());
}

TEST_F(HeadTest, failsWithTheStatusOfWhatIsNotThere) {
  server.enqueue(MockResponse(404));

  const auto response = responseTo(DataHeadRequest(server.url("/")));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.statusCode(), 404);
}

}  // namespace
}  // namespace corvane
