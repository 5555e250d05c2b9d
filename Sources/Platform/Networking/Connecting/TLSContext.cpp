#include "Platform/Networking/Connecting/TLSContext.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

#include "Platform/Foundation/Internal/FileWriting.hpp"
#include "Platform/Networking/Streams/TLSStream.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/IdentityHandle.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

using detail::OpenSSLErrorScope;
using detail::OpenSSLUse;

namespace {

constexpr std::size_t scratchBytes = EventLoop::receiveBufferBytes;

/// Several records for one call of the system.
constexpr std::size_t readBufferBytes = std::size_t{34} * 1024;

constexpr unsigned char bothVersions[] = {2, 'h', '2', 8, 'h', 't', 't', 'p', '/', '1', '.', '1'};
constexpr unsigned char onlyHTTP2[] = {2, 'h', '2'};
constexpr unsigned char onlyHTTP1[] = {8, 'h', 't', 't', 'p', '/', '1', '.', '1'};

bool agrees(int zeroForSuccess) { return zeroForSuccess == 0; }

bool offer(SSL_CTX* context, const TLSOptions& options) {
  if (!options.offersHTTP2) return agrees(SSL_CTX_set_alpn_protos(context, onlyHTTP1, sizeof onlyHTTP1));
  if (!options.offersHTTP1) return agrees(SSL_CTX_set_alpn_protos(context, onlyHTTP2, sizeof onlyHTTP2));
  return agrees(SSL_CTX_set_alpn_protos(context, bothVersions, sizeof bothVersions));
}

bool use(SSL_CTX* context, const detail::IdentityHandle& identity) {
  bool isTaken = SSL_CTX_use_certificate(context, identity.certificates.front().handle()->x509) == 1 &&
                 SSL_CTX_use_PrivateKey(context, identity.key.get()) == 1;
  for (auto issuer = identity.certificates.begin() + 1; isTaken && issuer != identity.certificates.end(); ++issuer) {
    isTaken = SSL_CTX_add1_chain_cert(context, issuer->handle()->x509) == 1;
  }
  return isTaken;
}

/// Empty when the context has taken the options.
std::string configure(SSL_CTX* context, const TLSOptions& options) {
  if (SSL_CTX_set_min_proto_version(context, options.minimumVersion) != 1) return "The version of TLS is not known.";
  if (!offer(context, options)) return "There is no memory for the protocols.";
  // OpenSSL ignores what it does not know in a list as long as there is something that it knows.
  // Ciphers without certificates or without encryption are never offered.
  const std::string ciphers = options.ciphers + ":!aNULL:!eNULL";
  if (!options.ciphers.empty() && SSL_CTX_set_cipher_list(context, ciphers.c_str()) != 1) {
    return "The list \"" + options.ciphers + "\" names no cipher of TLS 1.2.";
  }
  if (!options.cipherSuites.empty() && SSL_CTX_set_ciphersuites(context, options.cipherSuites.c_str()) != 1) {
    return "The list \"" + options.cipherSuites + "\" names something that is no cipher suite of TLS 1.3.";
  }
  if (options.identity && !use(context, *options.identity)) {
    return "The TLS library refuses the certificate of the client, for example because its key is too short.";
  }
  return {};
}

detail::FileDescriptor openKeyLog(const std::string& path) {
  if (path.empty()) return {};
  return detail::FileDescriptor(detail::uninterrupted(
      [&] { return ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR); }));
}

/// How long the server wants it to be kept; longer than anything when it does not say (RFC 5077, 3.3).
Duration hintOf(const SSL_SESSION* session) {
  const unsigned long seconds = SSL_SESSION_get_ticket_lifetime_hint(session);
  return seconds == 0 ? Duration::max() : durationOfSeconds(static_cast<double>(seconds));
}

/// How often all contexts were told to forget.
std::atomic<std::uint64_t> forgottenEverywhere = 0;

}  // namespace

void TLSContext::SessionFree::operator()(SSL_SESSION* session) const {
  if (const OpenSSLUse use; use) {
    SSL_SESSION_free(session);
  } else {
    OpenSSLUse::abandon(session);
  }
}

std::string TLSContext::problem(const TLSOptions& options) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  if (!context) return "There is no memory for TLS.";
  if (std::string problem = configure(context.get(), options); !problem.empty()) return problem;
  if (options.keyLogPath.empty() || openKeyLog(options.keyLogPath).isOpen()) return {};
  return "The key log " + options.keyLogPath + " cannot be written: " + std::generic_category().message(errno) + ".";
}

std::shared_ptr<TLSContext> TLSContext::make(const TLSOptions& options) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> made(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  SSL_CTX* const handle = made.get();
  if (!handle || !configure(handle, options).empty()) trap("the TLS library cannot make a context");
  // A renegotiation could show another certificate behind the verdict's back.
  SSL_CTX_set_options(handle, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
  SSL_CTX_set_mode(handle, SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_AUTO_RETRY |
                               SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  SSL_CTX_set_read_ahead(handle, 1);
  SSL_CTX_set_default_read_buffer_len(handle, readBufferBytes);
  SSL_CTX_set_verify(handle, SSL_VERIFY_PEER, nullptr);
  SSL_CTX_set_cert_verify_callback(handle, TLSStream::judge, nullptr);
  SSL_CTX_set_info_callback(handle, TLSStream::noteAlert);
  SSL_CTX_set_cert_cb(handle, TLSStream::noteCertificateRequest, nullptr);
  SSL_CTX_set_session_cache_mode(handle, SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
  SSL_CTX_sess_set_new_cb(handle, TLSStream::keepSession);
  detail::FileDescriptor keyLog = openKeyLog(options.keyLogPath);
  if (keyLog.isOpen()) SSL_CTX_set_keylog_callback(handle, TLSStream::logKeys);
  std::unique_ptr<TLSContext> context(new TLSContext(handle, std::move(keyLog)));
  // From here on the context frees the handle, also when there is no memory to share it.
  static_cast<void>(made.release());
  return context;
}

TLSContext::~TLSContext() {
  sessions_.clear();
  if (const OpenSSLUse use; use) {
    SSL_CTX_free(handle_);
  } else {
    OpenSSLUse::abandon(handle_);
  }
}

void TLSContext::logKeys(std::string_view line) {
  char end = '\n';
  const iovec pieces[] = {{const_cast<char*>(line.data()), line.size()}, {&end, 1}};
  // A log that cannot be written any more is a loss for who debugs, and for nobody else.
  static_cast<void>(detail::writingToFile([&] { return ::writev(keyLog_.number(), pieces, std::size(pieces)); }));
}

void TLSContext::forget() {
  ++trustEpoch_;
  sessions_.clear();
}

void TLSContext::forgetEverywhere() { forgottenEverywhere.fetch_add(1); }

std::uint64_t TLSContext::trustEpoch() const { return trustEpoch_ + forgottenEverywhere.load(); }

void TLSContext::dropOutdated() {
  const std::uint64_t epoch = forgottenEverywhere.load();
  if (std::exchange(sharedEpoch_, epoch) != epoch) sessions_.clear();
}

std::span<std::byte> TLSContext::scratch() {
  if (!scratch_) scratch_.reset(new std::byte[scratchBytes]);
  return {scratch_.get(), scratchBytes};
}

TLSContext::Session TLSContext::takeSession(const Origin& origin, TimePoint now) {
  dropOutdated();
  for (auto kept = sessions_.begin(); kept != sessions_.end();) {
    if (kept->end <= now || SSL_SESSION_is_resumable(kept->session.get()) != 1) {
      kept = sessions_.erase(kept);
      continue;
    }
    if (kept->port != origin.port || kept->host != origin.host) {
      ++kept;
      continue;
    }
    if (SSL_SESSION_get_protocol_version(kept->session.get()) < TLS1_3_VERSION) {
      SSL_SESSION_up_ref(kept->session.get());
      return Session(kept->session.get());
    }
    Session session = std::move(kept->session);
    sessions_.erase(kept);
    return session;
  }
  return nullptr;
}

void TLSContext::keepSession(const Origin& origin, std::uint64_t trustEpoch, Session session, TimePoint now) {
  if (trustEpoch != this->trustEpoch()) return;
  dropOutdated();
  makeRoom(origin);
  const TimePoint end = now + std::min(sessionLifetime, hintOf(session.get()));
  sessions_.push_front({origin.host, origin.port, std::move(session), end});
}

void TLSContext::makeRoom(const Origin& origin) {
  std::size_t count = 0;
  for (auto kept = sessions_.begin(); kept != sessions_.end();) {
    const bool isOfOrigin = kept->port == origin.port && kept->host == origin.host;
    kept = isOfOrigin && ++count >= mostSessionsOfOrigin ? sessions_.erase(kept) : std::next(kept);
  }
  if (sessions_.size() >= mostSessions) sessions_.pop_back();
}

}  // namespace platform::networking
