#pragma once

#include <openssl/x509.h>

#include <string>
#include <vector>

namespace platform::detail {

/// Where the certificates are that a system trusts.
struct AnchorPlaces {
  /// One file of them all, in PEM.
  std::string bundle;
  /// Files named after the hash of their subject, which are searched by name when needed. Several are separated by
  /// colons.
  std::string directories;
  /// Further bundles, of which the first counts that has a certificate, when `bundle` has none.
  std::vector<std::string> otherBundles;

  /// Those that OpenSSL was built with, and the distributions' for where it was built with others that do not exist.
  /// The environment (SSL_CERT_FILE, SSL_CERT_DIR) names none: trust comes from the system and from code.
  static AnchorPlaces ofSystem();
};

/// The certificates that the system trusts, read once per process. Safe on any thread.
class SystemAnchors {
 public:
  /// Reads the bundle on first use, which takes about 20 ms.
  static const SystemAnchors& shared();
  /// Names other places than the system's for `shared`. For tests, before it is used.
  static void usePlaces(AnchorPlaces places);

  SystemAnchors(const SystemAnchors&) = delete;
  SystemAnchors& operator=(const SystemAnchors&) = delete;

  /// Appends the anchors whose subject is `name` to `out`, each with a reference of its own.
  void appendNamed(const X509_NAME* name, STACK_OF(X509) * out) const;

 private:
  explicit SystemAnchors(const AnchorPlaces& places);

  X509_STORE* const store_;
};

}  // namespace platform::detail
