#include "Corvane/Settings.hpp"

#include <algorithm>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {

using platform::URL;
using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

struct TrustedCertificates {
  static TrustedCertificates& shared() {
    static TrustedCertificates& certificates = *new TrustedCertificates;
    return certificates;
  }

  Mutex mutex;
  std::vector<URL> files CORVANE_GUARDED_BY(mutex);
};

}  // namespace

constinit std::atomic<HTTPVerbosityLevel> Corvane::verbosity = HTTPVerbosityLevel::none;

constinit std::atomic<bool> Corvane::isNetworkForbidden = false;

std::vector<URL> Corvane::trustedCertificates() {
  auto& certificates = TrustedCertificates::shared();
  const MutexLock lock(certificates.mutex);
  return certificates.files;
}

void Corvane::addTrustedCertificate(const URL& file) {
  auto& certificates = TrustedCertificates::shared();
  const MutexLock lock(certificates.mutex);
  auto& files = certificates.files;
  if (std::find(files.begin(), files.end(), file) == files.end()) files.push_back(file);
  platform::URLSession::forgetServerTrust();
}

void Corvane::addTrustedCertificates(const std::vector<URL>& files) {
  for (const URL& file : files) addTrustedCertificate(file);
}

void Corvane::removeTrustedCertificates() {
  auto& certificates = TrustedCertificates::shared();
  const MutexLock lock(certificates.mutex);
  certificates.files.clear();
  platform::URLSession::forgetServerTrust();
}

}  // namespace corvane
