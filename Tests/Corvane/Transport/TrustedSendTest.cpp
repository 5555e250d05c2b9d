#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::TestServer;

class TrustedSendTest : public ::testing::Test {
 protected:
  ~TrustedSendTest() override {
    Corvane::removeTrustedCertificates();
    Corvane::resetSessions();
  }
  void trust(const testkit::CertificateAuthority& authority) {
    const std::string path = directory_.path().string() + "/root.der";
    platform::FileManager::write(Data(authority.certificate().der()), path);
    Corvane::addTrustedCertificate(URL::file(path));
  }

  testkit::TemporaryDirectory directory_;
  const testkit::CertificateAuthority root_;
  TestServer server_{testkit::Tls(root_.issue(testkit::CertificateRequest::localhost()))};
};

TEST_F(TrustedSendTest, reachesAServerThroughARegisteredCertificate) {
  trust(root_);
  server_.enqueue(MockResponse(200).text("trusted"));

  EXPECT_EQ(DataGetRequest(server_.url("/")).send().get().body.text(), "trusted");
}

TEST_F(TrustedSendTest, refusesAServerThatNothingVouchesFor) {
  const auto result = DataGetRequest(server_.url("/")).send().result();

  ASSERT_TRUE(result.error());
  EXPECT_TRUE(result.error()->as<CFNetworkErrors>());
  EXPECT_EQ(server_.requestCount(), 0);
  server_.takeFailures();
}

}  // namespace
}  // namespace corvane
