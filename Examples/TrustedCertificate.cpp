// Trusts servers through a certificate of one's own, beside those the system trusts.
//
//   example_TrustedCertificate https://localhost:8443/ authority.der

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL CERTIFICATE.der\n", argv[0]);
    return 2;
  }
  Corvane::addTrustedCertificate(URL::file(argv[2]));

  const auto result = DataGetRequest(URL(argv[1])).send().result();
  std::printf("%s\n", result ? result.value()->body.text().c_str() : result.error()->message().c_str());
  return result ? 0 : 1;
}
