#include "Platform/Networking/Connecting/TLSContext.hpp"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "Platform/Networking/Streams/TLSStream.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
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
constexpr unsigned char onlyHTTP1[] = {8, 'h', 't', 't', 'p', '/', '1', '.', '1'};

bool agrees(int zeroForSuccess) { return zeroForSuccess == 0; }

bool offer(SSL_CTX* context, bool offersHTTP2) {
  if (offersHTTP2) return agrees(SSL_CTX_set_alpn_protos(context, bothVersions, sizeof bothVersions));
  return agrees(SSL_CTX_set_alpn_protos(context, onlyHTTP1, sizeof onlyHTTP1));
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

std::shared_ptr<TLSContext> TLSContext::make(TLSOptions options) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  SSL_CTX* handle = SSL_CTX_new(TLS_client_method());
  if (!handle || SSL_CTX_set_min_proto_version(handle, TLS1_2_VERSION) != 1 || !offer(handle, options.offersHTTP2)) {
    trap("the TLS library cannot make a context");
  }
  // A renegotiation could show another certificate behind the verdict's back.
  SSL_CTX_set_options(handle, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
  SSL_CTX_set_mode(handle, SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_AUTO_RETRY |
                               SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  SSL_CTX_set_read_ahead(handle, 1);
  SSL_CTX_set_default_read_buffer_len(handle, readBufferBytes);
  SSL_CTX_set_verify(handle, SSL_VERIFY_PEER, nullptr);
  SSL_CTX_set_cert_verify_callback(handle, TLSStream::judge, nullptr);
  SSL_CTX_set_info_callback(handle, TLSStream::noteAlert);
  SSL_CTX_set_client_cert_cb(handle, TLSStream::noteCertificateRequest);
  SSL_CTX_set_session_cache_mode(handle, SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
  SSL_CTX_sess_set_new_cb(handle, TLSStream::keepSession);
  return std::shared_ptr<TLSContext>(new TLSContext(handle));
}

TLSContext::~TLSContext() {
  sessions_.clear();
  if (const OpenSSLUse use; use) {
    SSL_CTX_free(handle_);
  } else {
    OpenSSLUse::abandon(handle_);
  }
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
