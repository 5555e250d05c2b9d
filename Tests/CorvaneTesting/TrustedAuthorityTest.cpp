#include "CorvaneTesting/TrustedAuthority.hpp"

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace corvane::testkit {
namespace {

using platform::FileManager;
using ::testing::ElementsAre;

class TrustedAuthorityTest : public ::testing::Test {
 protected:
  ~TrustedAuthorityTest() override {
    Corvane::removeTrustedCertificates();
    Corvane::resetSessions();
  }

  std::string response() { return DataGetRequest(server.url("/", "localhost")).send().get().body.text(); }

  const CertificateAuthority authority;
  TestServer server{Tls(authority.issue(CertificateRequest::localhost()))};
};

TEST_F(TrustedAuthorityTest, isTrustedWhileItLives) {
  server.enqueue(MockResponse().body("secret"));
  {
    const TrustedAuthority trusted(authority);
    EXPECT_EQ(response(), "secret");
  }
  Corvane::resetSessions();

  EXPECT_THROW(response(), platform::Error);
  EXPECT_EQ(server.requestCount(), 1);
  server.takeFailures();
}

TEST_F(TrustedAuthorityTest, leavesOtherCertificatesAsTheyAre) {
  const URL before = "file:///before.der";
  const URL meanwhile = "file:///meanwhile.der";
  Corvane::addTrustedCertificate(before);
  std::string file;
  {
    const TrustedAuthority trusted(authority);
    file = Corvane::trustedCertificates().at(1).fileSystemPath();
    Corvane::addTrustedCertificate(meanwhile);
  }

  EXPECT_THAT(Corvane::trustedCertificates(), ElementsAre(before, meanwhile));
  EXPECT_NE(file, "");
  EXPECT_FALSE(FileManager::exists(file));
}

}  // namespace
}  // namespace corvane::testkit
