#include "Platform/Security/Internal/SystemAnchors.hpp"

#include <openssl/x509_vfy.h>

#include <memory>
#include <utility>

#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {
namespace {

constexpr const char* outOfMemory = "There is no memory for the system's certificates.";

bool hasCertificates(X509_STORE* store) { return sk_X509_OBJECT_num(X509_STORE_get0_objects(store)) > 0; }

AnchorPlaces& sharedPlaces() {
  static AnchorPlaces& places = *new AnchorPlaces(AnchorPlaces::ofSystem());
  return places;
}

/// As `X509_STORE_set_default_paths`, without the environment, and without the lookup that lists a whole directory for
/// each unknown name.
void readPlaces(X509_STORE* store, const AnchorPlaces& places) {
  X509_LOOKUP* file = X509_STORE_add_lookup(store, X509_LOOKUP_file());
  X509_LOOKUP* directory = X509_STORE_add_lookup(store, X509_LOOKUP_hash_dir());
  if (!file || !directory) trap(outOfMemory);
  X509_LOOKUP_load_file(file, places.bundle.c_str(), X509_FILETYPE_PEM);
  X509_LOOKUP_add_dir(directory, places.directories.c_str(), X509_FILETYPE_PEM);
}

}  // namespace

AnchorPlaces AnchorPlaces::ofSystem() {
  return {
      .bundle = X509_get_default_cert_file(),
      .directories = X509_get_default_cert_dir(),
      // Debian, Fedora, Alpine.
      .otherBundles = {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt", "/etc/ssl/cert.pem"}};
}

const SystemAnchors& SystemAnchors::shared() {
  static const SystemAnchors& anchors = *new SystemAnchors(sharedPlaces());
  return anchors;
}

void SystemAnchors::usePlaces(AnchorPlaces places) { sharedPlaces() = std::move(places); }

SystemAnchors::SystemAnchors(const AnchorPlaces& places) : store_(X509_STORE_new()) {
  if (!store_) trap(outOfMemory);
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  readPlaces(store_, places);
  for (const std::string& bundle : places.otherBundles) {
    if (hasCertificates(store_)) return;
    X509_STORE_load_file(store_, bundle.c_str());
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
