#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform {

namespace detail {
struct IdentityHandle;
}

/// A certificate with its private key, which a client shows to servers that ask for one (RFC 8446, 4.4.2). Immutable,
/// cheap to copy, safe on any thread. The key stays in memory as long as a copy lives.
class CORVANE_API SecIdentity {
 public:
  /// Gives the pass phrase of an encrypted key. Called at most once, inside of the function that it was given to; not
  /// for a key that is not encrypted.
  using PassPhrase = UniqueFunction<std::string()>;

  /// From PEM (RFC 7468): the client's own certificate, then those of its issuers, and its key. All may stand in one
  /// text, in any order but that of the certificates, or in two. Throws an `Error` ("NSOSStatusErrorDomain"):
  /// `OSStatus::decode` where there is no certificate or key, or they do not belong together; `OSStatus::authFailed`
  /// for an encrypted key whose pass phrase is wrong or missing.
  static SecIdentity fromPEM(const Data& certificates, const Data& key, PassPhrase passPhrase = {});
  static SecIdentity fromPEM(const Data& certificatesAndKey, PassPhrase passPhrase = {}) {
    return fromPEM(certificatesAndKey, certificatesAndKey, std::move(passPhrase));
  }
  /// From DER: one certificate, and its key in the form of PKCS #8 (RFC 5958), encrypted or not, or of its algorithm.
  /// Throws as `fromPEM` does.
  static SecIdentity fromDER(const Data& certificate, const Data& key, PassPhrase passPhrase = {});
  /// From a PKCS #12 file (RFC 7292), as ".p12" and ".pfx" files are. Throws as `fromPEM` does.
  static SecIdentity fromPKCS12(const Data& bytes, PassPhrase passPhrase = {});

  /// The client's own certificate, then those of its issuers that are sent with it.
  const std::vector<SecCertificate>& certificates() const;

  /// For the platform's own use.
  explicit SecIdentity(std::shared_ptr<const detail::IdentityHandle> handle) : handle_(std::move(handle)) {}
  /// Null only in a moved-from value.
  const std::shared_ptr<const detail::IdentityHandle>& handle() const { return handle_; }

 private:
  std::shared_ptr<const detail::IdentityHandle> handle_;
};

}  // namespace platform
