#include "Platform/Security/Internal/SystemAnchors.hpp"

#include <openssl/x509_vfy.h>
#include <stdlib.h>

#include <memory>

#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {
namespace {

// Debian, Fedora, Alpine.
constexpr const char* distributionBundles[] = {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt",
                                               "/etc/ssl/cert.pem"};

constexpr const char* outOfMemory = "There is no memory for the system's certificates.";

bool hasCertificates(X509_STORE* store) { return sk_X509_OBJECT_num(X509_STORE_get0_objects(store)) > 0; }

/// As `X509_STORE_set_default_paths`, without the lookup that lists a whole directory for each unknown name.
void readDefaultPaths(X509_STORE* store) {
  X509_LOOKUP* file = X509_STORE_add_lookup(store, X509_LOOKUP_file());
  X509_LOOKUP* directory = X509_STORE_add_lookup(store, X509_LOOKUP_hash_dir());
  if (!file || !directory) trap(outOfMemory);
  X509_LOOKUP_load_file(file, nullptr, X509_FILETYPE_DEFAULT);
  X509_LOOKUP_add_dir(directory, nullptr, X509_FILETYPE_DEFAULT);
}

}  // namespace

const SystemAnchors& SystemAnchors::shared() {
  static const SystemAnchors& anchors = *new SystemAnchors;
  return anchors;
}

SystemAnchors::SystemAnchors() : store_(X509_STORE_new()) {
  if (!store_) trap(outOfMemory);
  const OpenSSLErrorScope errors;
  readDefaultPaths(store_);
  // An application that names its own bundle must not get another one because of a typing error.
  if (secure_getenv("SSL_CERT_FILE") || secure_getenv("SSL_CERT_DIR")) return;
  for (const char* bundle : distributionBundles) {
    if (hasCertificates(store_)) return;
    X509_STORE_load_file(store_, bundle);
  }
}

void SystemAnchors::appendNamed(const X509_NAME* name, STACK_OF(X509) * out) const {
  const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> context(X509_STORE_CTX_new(),
                                                                                &X509_STORE_CTX_free);
  if (!context || !X509_STORE_CTX_init(context.get(), store_, nullptr, nullptr)) return;
  STACK_OF(X509)* found = X509_STORE_CTX_get1_certs(context.get(), name);
  while (found && sk_X509_num(found) > 0) {
    X509* anchor = sk_X509_pop(found);
    if (!sk_X509_push(out, anchor)) X509_free(anchor);
  }
  sk_X509_free(found);
}

}  // namespace platform::detail
