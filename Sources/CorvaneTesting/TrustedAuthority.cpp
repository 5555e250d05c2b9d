#include "CorvaneTesting/TrustedAuthority.hpp"

#include <cstdio>
#include <vector>

#include "Corvane/Settings.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace corvane::testkit {

using platform::FileManager;
using platform::URL;

namespace {

URL rootIn(const std::string& folder) { return URL::file(folder + "/root.der"); }

void removeFolder(const std::string& folder) {
  try {
    FileManager::remove(folder);
  } catch (const platform::Error& error) {
    std::fprintf(stderr, "%s\n", error.message().c_str());
  }
}

}  // namespace

TrustedAuthority::TrustedAuthority(const CertificateAuthority& authority)
    : folder_(FileManager::createTemporaryDirectory()) {
  try {
    FileManager::write(platform::Data(authority.certificate().der()), folder_ + "/root.der");
    Corvane::addTrustedCertificate(rootIn(folder_));
  } catch (...) {
    removeFolder(folder_);
    throw;
  }
}

TrustedAuthority::~TrustedAuthority() {
  std::vector<URL> others = Corvane::trustedCertificates();
  std::erase(others, rootIn(folder_));
  Corvane::removeTrustedCertificates();
  Corvane::addTrustedCertificates(others);
  removeFolder(folder_);
}

}  // namespace corvane::testkit
