#include "CorvaneTesting/ForbiddenNetwork.hpp"

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane::testkit {
namespace {

class ForbiddenNetworkTest : public ServerTest {
 protected:
  ~ForbiddenNetworkTest() override { Corvane::isNetworkForbidden = false; }
};

TEST_F(ForbiddenNetworkTest, forbidsRequestsWhileItLives) {
  server.enqueue(MockResponse().body("here"));
  const DataGetRequest request(server.url("/x"));
  {
    const ForbiddenNetwork forbidden;
    const auto result = request.send().result();
    ASSERT_TRUE(result.error());
    EXPECT_EQ(result.error()->message(), "network forbidden: GET " + server.url("/x"));
    EXPECT_EQ(server.connectionCount(), 0);
  }

  EXPECT_EQ(request.send().get().body.text(), "here");
}

TEST_F(ForbiddenNetworkTest, leavesWhatWasForbiddenBefore) {
  Corvane::isNetworkForbidden = true;
  {
    const ForbiddenNetwork forbidden;
  }

  EXPECT_TRUE(Corvane::isNetworkForbidden);
}

}  // namespace
}  // namespace corvane::testkit
