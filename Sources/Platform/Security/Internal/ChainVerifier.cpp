#include "Platform/Security/Internal/ChainVerifier.hpp"

#include <openssl/asn1.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <ctime>
#include <memory>
#include <string>
#include <utility>

#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/HostMatching.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"
#include "Platform/Security/Internal/SystemAnchors.hpp"
#include "Platform/Security/Internal/VerifiedChains.hpp"

namespace platform::detail {
namespace {

struct Free {
  void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
  void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using Certificates = std::unique_ptr<STACK_OF(X509), Free>;

bool append(const Certificates& list, X509* certificate) {
  X509_up_ref(certificate);
  if (sk_X509_push(list.get(), certificate)) return true;
  X509_free(certificate);
  return false;
}

Certificates certificates(const std::vector<SecCertificate>& from, std::size_t first) {
  Certificates list(sk_X509_new_null());
  for (std::size_t index = first; list && index < from.size(); ++index) {
    if (!append(list, from[index].handle()->x509)) return nullptr;
  }
  return list;
}

void appendSystemAnchors(const Certificates& list, const std::vector<SecCertificate>& chain) {
  const SystemAnchors& system = SystemAnchors::shared();
  for (const SecCertificate& certificate : chain) {
    X509* x509 = certificate.handle()->x509;
    system.appendNamed(X509_get_issuer_name(x509), list.get());
    // A certificate of the chain may be an anchor itself without its issuer being one.
    if (X509_NAME_cmp(X509_get_subject_name(x509), X509_get_issuer_name(x509)) != 0) {
      system.appendNamed(X509_get_subject_name(x509), list.get());
    }
  }
}

/// The key sizes and digests that this system's OpenSSL asks of a TLS connection by default.
int defaultSecurityLevel() {
  static const int level = [] {
    const std::unique_ptr<SSL_CTX, Free> context(SSL_CTX_new(TLS_client_method()));
    return context ? SSL_CTX_get_security_level(context.get()) : 2;
  }();
  return level;
}

void configure(X509_STORE_CTX* context, const TrustQuestion& question) {
  X509_STORE_CTX_set_default(context, "ssl_server");
  X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context);
  // Whatever is an anchor ends the chain, also an intermediate or the server's own certificate.
  X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_PARTIAL_CHAIN);
  X509_VERIFY_PARAM_set_auth_level(parameters, defaultSecurityLevel());
  if (question.verifyDate) X509_VERIFY_PARAM_set_time(parameters, static_cast<time_t>(*question.verifyDate));
}

std::string issuer(const X509* certificate) {
  return certificate ? "\"" + nameSummary(X509_get_issuer_name(certificate)) + "\"" : "an authority";
}

/// As ISO 8601 has it, in UTC.
std::string day(const ASN1_TIME* time) {
  std::tm parts{};
  char text[32];
  if (!time || ASN1_TIME_to_tm(time, &parts) != 1) return "an unknown day";
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d", &parts)};
}

std::string nameOf(const X509* current) {
  if (!current) return "The certificate";
  return "The certificate \"" + nameSummary(X509_get_subject_name(current)) + "\"";
}

TrustVerdict verdictOnFailure(X509_STORE_CTX* context) {
  const int code = X509_STORE_CTX_get_error(context);
  const X509* const current = X509_STORE_CTX_get_current_cert(context);
  const std::string name = nameOf(current);
  constexpr auto recoverable = SecTrustResult::recoverableTrustFailure;
  switch (code) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return {recoverable, SecTrustProblem::expired, name + " expired on " + day(X509_get0_notAfter(current)) + "."};
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return {recoverable, SecTrustProblem::notYetValid,
              name + " is not valid before " + day(X509_get0_notBefore(current)) + "."};
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
      return {recoverable, SecTrustProblem::unknownRoot, name + " is signed by itself and is not trusted here."};
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
      return {recoverable, SecTrustProblem::unknownRoot, name + " is a root that is not trusted here."};
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_CERT_UNTRUSTED:
      return {recoverable, SecTrustProblem::unknownRoot,
              name + " was issued by " + issuer(current) + ", which is not trusted here."};
    case X509_V_ERR_INVALID_PURPOSE:
      return {recoverable, SecTrustProblem::other, name + " is not meant for a server."};
    case X509_V_ERR_OUT_OF_MEM:
    case X509_V_ERR_UNSPECIFIED:
      return {SecTrustResult::otherError, SecTrustProblem::other, "The chain could not be verified."};
    default:
      return {SecTrustResult::fatalTrustFailure, SecTrustProblem::other,
              name + " cannot be trusted: " + X509_verify_cert_error_string(code) + "."};
  }
}

}  // namespace

TrustVerdict verifyChain(const TrustQuestion& question) {
  if (question.chain.empty()) {
    return {SecTrustResult::otherError, SecTrustProblem::other, "The server sent no certificate."};
  }
  const OpenSSLUse use;
  if (!use) return {SecTrustResult::otherError, SecTrustProblem::other, "The process exits."};
  const OpenSSLErrorScope errors;
  VerifiedChains& known = VerifiedChains::shared();
  if (auto verified = known.find(question, question.verifyDate.value_or(std::time(nullptr))); !verified.empty()) {
    return {SecTrustResult::unspecified, SecTrustProblem::none, {}, std::move(verified)};
  }
  const Certificates sent = certificates(question.chain, 1);
  const Certificates anchors = certificates(question.anchors, 0);
  const std::unique_ptr<X509_STORE_CTX, Free> context(X509_STORE_CTX_new());
  X509* leaf = question.chain.front().handle()->x509;
  if (!sent || !anchors || !context || !X509_STORE_CTX_init(context.get(), nullptr, leaf, sent.get())) {
    return {SecTrustResult::otherError, SecTrustProblem::other, "There is no memory to verify the chain."};
  }
  if (question.alsoSystemAnchors) appendSystemAnchors(anchors, question.chain);
  X509_STORE_CTX_set0_trusted_stack(context.get(), anchors.get());
  configure(context.get(), question);
  if (X509_verify_cert(context.get()) != 1) return verdictOnFailure(context.get());
  if (!certificateIsFor(question.host, leaf)) {
    return {SecTrustResult::recoverableTrustFailure, SecTrustProblem::hostMismatch,
            "The certificate \"" + question.chain.front().subjectSummary() + "\" is not for the host \"" +
                question.host + "\"."};
  }
  TrustVerdict verdict{SecTrustResult::unspecified,
                       SecTrustProblem::none,
                       {},
                       certificatesFromChain(X509_STORE_CTX_get0_chain(context.get()))};
  known.add(question, verdict.verifiedChain);
  return verdict;
}

}  // namespace platform::detail
