#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/TestServer.hpp"

namespace corvane {
namespace {

/// The loopback interface has addresses with a zone, too.
class AddressZoneSendTest : public ::testing::Test {
 protected:
  ~AddressZoneSendTest() override { Corvane::resetSessions(); }

  testkit::TestServer server{testkit::ServerOptions{.addresses = {"::1"}}};
};

TEST_F(AddressZoneSendTest, choosesTheInterfaceAndIsNotSent) {
  server.enqueue(testkit::MockResponse(200).body("here"));

  const auto response = DataGetRequest(server.url("/", "::1%25lo")).send().get();

  EXPECT_EQ(response.body.text(), "here");
  EXPECT_EQ(server.takeRequest().header("Host"), server.authority());
}

TEST_F(AddressZoneSendTest, failsForAnInterfaceThatIsNotThere) {
  const auto result = DataGetRequest(server.url("/", "::1%25nowhere0")).send().result();

  ASSERT_NE(result.error(), nullptr);
  EXPECT_THAT(result.error()->message(), ::testing::HasSubstr("the host could not be found"));
}

}  // namespace
}  // namespace corvane
