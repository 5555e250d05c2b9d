// The beginning of a TLS stream: what OpenSSL asks for on the way, and what comes of it.

#include <new>
#include <string>
#include <utility>

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Streams/TLSFailures.hpp"
#include "Platform/Networking/Streams/TLSStream.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

using detail::OpenSSLErrorScope;
using detail::OpenSSLUse;

namespace {

/// Many times what a handshake needs, the longest chain that OpenSSL takes included.
constexpr std::size_t handshakeTurnBytes = std::size_t{256} * 1024;

SSL* makeSSL(const TLSContext& context) {
  SSL* ssl = SSL_new(context.handle());
  if (!ssl) trap("the TLS library is out of memory");
  return ssl;
}

/// The name that tells a server which of its certificates to show: never an address, and without the root's dot
/// (RFC 6066, 3).
std::string serverName(const Origin& origin) {
  if (HostAddress::fromText(origin.host)) return {};
  std::string name = origin.host;
  if (name.ends_with('.')) name.pop_back();
  return name;
}

}  // namespace

TLSStream::TLSStream(EventLoop& loop, std::shared_ptr<TLSContext> context, std::unique_ptr<ByteStream> stream,
                     Origin origin)
    : loop_(loop),
      context_(std::move(context)),
      transport_(std::move(stream)),
      origin_(std::move(origin)),
      trustEpoch_(context_->trustEpoch()),
      ssl_(makeSSL(*context_)) {
  const OpenSSLErrorScope errors;
  SSL_set_app_data(ssl_, this);
  BIO* bio = transport_.makeBIO();
  SSL_set_bio(ssl_, bio, bio);
  SSL_set_connect_state(ssl_);
  const std::string name = serverName(origin_);
  if (!name.empty() && SSL_set_tlsext_host_name(ssl_, name.c_str()) != 1) {
    failHandshake({FailureCause::secureConnectionFailed, "the host's name is too long for TLS", 0});
  }
  if (const auto session = context_->takeSession(origin_, loop_.now())) SSL_set_session(ssl_, session.get());
  transport_.stream().setOwner(this);
}

TLSStream::~TLSStream() {
  loop_.cancelDeferred(*this);
  const OpenSSLUse use;
  if (!use) {
    OpenSSLUse::abandon(ssl_);
    return;
  }
  const OpenSSLErrorScope errors;
  // A session may be resumed although its connection ended without a word, as TLS allows since version 1.1; OpenSSL
  // would spoil it. One whose connection failed in TLS itself stays spoilt.
  if (state_ == State::open && readEnd_ != ReadEnd::failed) {
    SSL_set_shutdown(ssl_, SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
  }
  SSL_free(ssl_);
}

TLSStream::State TLSStream::handshake() {
  if (state_ != State::handshaking) return state_;
  const OpenSSLUse use;
  if (!use) return failHandshake({FailureCause::secureConnectionFailed, "the process exits", 0});
  const OpenSSLErrorScope errors;
  transport_.beginTurn(handshakeTurnBytes);
  transport_.holdBack();
  if (SSL_do_handshake(ssl_) == 1) {
    chain_ = {};
    // A cipher without certificates would ask nobody.
    if (!isTrusted()) return failHandshake({FailureCause::serverNotTrusted, "the server showed no certificate", 0});
    // Our last flight leaves with what is written next, or by itself in the next iteration.
    loop_.defer(*this);
    return state_ = State::open;
  }
  // What it wrote; an alert of ours, too.
  transport_.flush();
  if (SSL_want_retry_verify(ssl_)) return state_ = State::judging;
  if (!transport_.isBlocked() || transport_.writeFailure()) return failHandshake(reasonOfHandshake());
  if (transport_.isTurnOver()) readLater();
  return state_;
}

/// Of the handshake, if it is held back. It must have a way to the server.
bool TLSStream::sendLastFlight() {
  if (!transport_.isHeldBack()) return true;
  transport_.flush();
  if (!transport_.writeFailure()) return true;
  failHandshake(reasonOfHandshake());
  return false;
}

TLSStream::State TLSStream::failHandshake(Failure failure) {
  failure_ = std::move(failure);
  return state_ = State::failed;
}

Failure TLSStream::reasonOfHandshake() const {
  if (verdict_ == Verdict::refused) return {FailureCause::serverNotTrusted, "the server is not trusted", 0};
  if (receivedAlert_ >= 0) return failureOfAlert(receivedAlert_, true, certificate_);
  for (const auto& failure : {transport_.readFailure(), transport_.writeFailure()}) {
    if (!failure) continue;
    return {FailureCause::secureConnectionFailed, "the connection was lost in the TLS handshake", failure->systemError};
  }
  if (transport_.hasEnded()) {
    return {FailureCause::secureConnectionFailed, "the server closed the connection in the TLS handshake", 0};
  }
  return failureOfLibrary(true);
}

bool TLSStream::isTrusted() const { return verdict_ == Verdict::trusted || wasResumed(); }

void TLSStream::applyVerdict(bool isServerTrusted) {
  verdict_ = isServerTrusted ? Verdict::trusted : Verdict::refused;
  state_ = State::handshaking;
}

std::string_view TLSStream::agreedProtocol() const {
  const unsigned char* name = nullptr;
  unsigned length = 0;
  SSL_get0_alpn_selected(ssl_, &name, &length);
  return {reinterpret_cast<const char*>(name), length};
}

bool TLSStream::wasResumed() const { return SSL_session_reused(ssl_) == 1; }

/// Called once to see the chain, and once more when the verdict is there.
int TLSStream::judge(X509_STORE_CTX* store, void*) {
  auto* ssl = static_cast<SSL*>(X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
  TLSStream& stream = of(ssl);
  switch (stream.verdict_) {
    case Verdict::none:
      try {
        stream.chain_ = detail::certificatesFromChain(X509_STORE_CTX_get0_untrusted(store));
      } catch (const std::bad_alloc&) {
        X509_STORE_CTX_set_error(store, X509_V_ERR_OUT_OF_MEM);
        return 0;
      }
      if (stream.chain_.empty()) break;
      stream.verdict_ = Verdict::asked;
      return SSL_set_retry_verify(ssl) ? 1 : 0;
    case Verdict::trusted:
      X509_STORE_CTX_set_error(store, X509_V_OK);
      return 1;
    case Verdict::asked:
    case Verdict::refused:
      break;
  }
  X509_STORE_CTX_set_error(store, X509_V_ERR_CERT_REJECTED);
  return 0;
}

void TLSStream::noteAlert(const SSL* ssl, int where, int value) {
  if ((where & SSL_CB_READ_ALERT) != SSL_CB_READ_ALERT) return;
  const int level = value >> 8;
  const int description = value & 0xff;
  // Other warnings are of no consequence.
  if (level == SSL3_AL_FATAL || description == SSL_AD_CLOSE_NOTIFY) of(ssl).receivedAlert_ = description;
}

/// The identity of the context, if it has one, is what is shown.
int TLSStream::noteCertificateRequest(SSL* ssl, void*) {
  of(ssl).certificate_ = SSL_get_certificate(ssl) ? ClientCertificate::shown : ClientCertificate::missing;
  return 1;
}

void TLSStream::logKeys(const SSL* ssl, const char* line) { of(ssl).context_->logKeys(line); }

int TLSStream::keepSession(SSL* ssl, SSL_SESSION* session) {
  const TLSStream& stream = of(ssl);
  TLSContext::Session kept(session);
  if (!stream.isTrusted()) return 1;
  try {
    stream.context_->keepSession(stream.origin_, stream.trustEpoch_, std::move(kept), stream.loop_.now());
  } catch (const std::bad_alloc&) {
    // The next connection does without it.
  }
  return 1;
}

}  // namespace platform::networking
