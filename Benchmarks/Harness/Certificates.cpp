#include <openssl/x509.h>

#include <fstream>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "Harness/Deployment.hpp"

namespace bench {

void makeCertificates(const std::filesystem::path& folder) {
  using corvane::testkit::CertificateAuthority;
  const CertificateAuthority authority("Corvane Benchmark Anchor");
  const auto server = authority.issue(corvane::testkit::CertificateRequest::localhost());

  std::ofstream(folder / "anchor.der") << authority.certificate().der();
  std::ofstream(folder / "server.pem") << server.chainPem();
  std::ofstream(folder / "server.key") << server.keyPem();
  std::ofstream(folder / "anchors.pem") << authority.certificate().pem()
                                        << std::ifstream(X509_get_default_cert_file()).rdbuf();
}

}  // namespace bench
