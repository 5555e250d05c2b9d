#pragma once

#include <openssl/x509.h>

namespace platform::detail {

/// The certificates that the system trusts, read once per process. Safe on any thread.
///
/// The sources are OpenSSL's: the file named by `SSL_CERT_FILE` or its built-in default, and the hashed
/// directories named by `SSL_CERT_DIR` or its built-in default, which are searched by name when needed.
/// Where OpenSSL was built with defaults that do not exist, the bundle of the distribution is read.
class SystemAnchors {
 public:
  /// Reads the bundle on first use, which takes about 20 ms.
  static const SystemAnchors& shared();

  /// Appends the anchors whose subject is `name` to `out`, each with a reference of its own.
  void appendNamed(const X509_NAME* name, STACK_OF(X509) * out) const;

 private:
  SystemAnchors();

  X509_STORE* store_;
};

}  // namespace platform::detail
