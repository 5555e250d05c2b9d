#include "CorvaneTesting/Internal/TlsStream.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <poll.h>

#include <stdexcept>
#include <utility>

#include "CorvaneTesting/Internal/SocketBio.hpp"

namespace corvane::testkit::detail {

namespace {

std::string lastError() {
  const unsigned long code = ERR_get_error();
  ERR_clear_error();
  if (code == 0) return "the connection was lost";
  const char* reason = ERR_reason_error_string(code);
  return reason ? reason : "error " + std::to_string(code);
}

[[noreturn]] void refuse(const std::string& what) { throw std::invalid_argument(what + ": " + lastError()); }

int protocolVersion(TlsVersion version) { return version == TlsVersion::v1_2 ? TLS1_2_VERSION : TLS1_3_VERSION; }

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using X509Pointer = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Bio reading(const std::string& text) {
  return Bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free);
}

void useChain(SSL_CTX* context, const std::string& pem) {
  const Bio source = reading(pem);
  const X509Pointer leaf(PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr), X509_free);
  if (!leaf || SSL_CTX_use_certificate(context, leaf.get()) != 1) refuse("cannot use the server's certificate");
  while (X509* issuer = PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr)) {
    if (SSL_CTX_add0_chain_cert(context, issuer) != 1) refuse("cannot use the certificate chain");
  }
  ERR_clear_error();
}

void useKey(SSL_CTX* context, const std::string& pem) {
  const Key key(PEM_read_bio_PrivateKey(reading(pem).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
  if (!key || SSL_CTX_use_PrivateKey(context, key.get()) != 1) refuse("cannot use the server's private key");
}

void demandClientCertificate(SSL_CTX* context, const std::string& pem) {
  const Bio source = reading(pem);
  while (X509* authority = PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr)) {
    const X509Pointer held(authority, X509_free);
    if (X509_STORE_add_cert(SSL_CTX_get_cert_store(context), authority) != 1 ||
        SSL_CTX_add_client_CA(context, authority) != 1) {
      refuse("cannot use the authority of clients");
    }
  }
  ERR_clear_error();
  // A server that asks for certificates resumes only sessions that it names as its own.
  static constexpr unsigned char name[] = "corvane";
  SSL_CTX_set_session_id_context(context, name, sizeof name - 1);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* chosenLength, const unsigned char* offered,
                   unsigned int offeredLength, void*) {
  static constexpr unsigned char http1[] = "\x08http/1.1";
  unsigned char* found = nullptr;
  const int result = SSL_select_next_proto(&found, chosenLength, http1, sizeof http1 - 1, offered, offeredLength);
  *chosen = found;
  return result == OPENSSL_NPN_NEGOTIATED ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_NOACK;
}

}  // namespace

TlsContext::TlsContext(const Tls& settings)
    : handle_(SSL_CTX_new(TLS_server_method()), SSL_CTX_free),
      saysGoodbye_(settings.saysGoodbye),
      resetLatch_(settings.handshakeReset) {
  if (!handle_) throw std::runtime_error("cannot make a TLS context");
  SSL_CTX_set_min_proto_version(handle_.get(), protocolVersion(settings.oldest));
  SSL_CTX_set_max_proto_version(handle_.get(), protocolVersion(settings.newest));
  SSL_CTX_set_mode(handle_.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  SSL_CTX_set_options(handle_.get(), SSL_OP_NO_RENEGOTIATION);
  SSL_CTX_set_alpn_select_cb(handle_.get(), chooseProtocol, nullptr);
  if (!settings.offersSessions) {
    SSL_CTX_set_session_cache_mode(handle_.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(handle_.get(), SSL_OP_NO_TICKET);
    SSL_CTX_set_num_tickets(handle_.get(), 0);
  }
  useChain(handle_.get(), settings.certificateChain);
  useKey(handle_.get(), settings.key);
  if (!settings.clientAuthorities.empty()) demandClientCertificate(handle_.get(), settings.clientAuthorities);
}

TlsStream::TlsStream(Descriptor descriptor, const Event& stop, std::shared_ptr<TlsContext> context)
    : Stream(std::move(descriptor), stop), context_(std::move(context)), ssl_(SSL_new(context_->handle()), SSL_free) {
  if (!ssl_) throw std::runtime_error("cannot make a TLS connection");
  BIO* bio = makeSocketBio(socket());
  SSL_set_bio(ssl_.get(), bio, bio);
  SSL_set_app_data(ssl_.get(), this);
  SSL_set_info_callback(ssl_.get(), &TlsStream::onEvent);
}

TlsStream::~TlsStream() = default;

void TlsStream::onEvent(const ssl_st* ssl, int where, int value) {
  if (where != SSL_CB_READ_ALERT) return;
  const auto* self = static_cast<TlsStream*>(SSL_get_app_data(ssl));
  if (self->alertHandler_) self->alertHandler_(SSL_alert_desc_string_long(value));
}

TlsStream::Handshake TlsStream::shakeHands() {
  Handshake handshake;
  ERR_clear_error();
  for (int result = SSL_accept(ssl_.get()); result != 1; result = SSL_accept(ssl_.get())) {
    if (waitAfter(result, handshake)) continue;
    handshake.error = handshake.isToBeReset ? "the test wanted a reset" : lastError();
    break;
  }
  if (const char* name = SSL_get_servername(ssl_.get(), TLSEXT_NAMETYPE_host_name)) handshake.sni = name;
  if (handshake.error.empty()) handshake.version = SSL_get_version(ssl_.get());
  handshake.resumed = SSL_session_reused(ssl_.get()) == 1;
  return handshake;
}

std::size_t TlsStream::read(char* buffer, std::size_t size) {
  for (;;) {
    std::size_t count = 0;
    ERR_clear_error();
    const int result = SSL_read_ex(ssl_.get(), buffer, size, &count);
    if (result == 1) return count;
    // A client that closes with or without its closing alert has left all the same.
    if (!waitAfter(result)) return 0;
  }
}

void TlsStream::write(std::string_view bytes) {
  while (!bytes.empty()) {
    std::size_t count = 0;
    ERR_clear_error();
    const int result = SSL_write_ex(ssl_.get(), bytes.data(), bytes.size(), &count);
    if (result != 1 && !waitAfter(result)) throw ConnectionOver();
    bytes.remove_prefix(count);
  }
}

std::size_t TlsStream::writeWithoutWaiting(std::string_view bytes) {
  std::size_t count = 0;
  ERR_clear_error();
  return SSL_write_ex(ssl_.get(), bytes.data(), bytes.size(), &count) == 1 ? count : 0;
}

bool TlsStream::waitAfter(int result, Handshake& handshake) {
  if (SSL_get_error(ssl_.get(), result) != SSL_ERROR_WANT_READ) return waitAfter(result);
  handshake.isToBeReset = wait(POLLIN, std::nullopt, context_->resetLatch()) == Woke::latch;
  return !handshake.isToBeReset;
}

bool TlsStream::waitAfter(int result) {
  switch (SSL_get_error(ssl_.get(), result)) {
    case SSL_ERROR_WANT_READ:
      wait(POLLIN, std::nullopt);
      return true;
    case SSL_ERROR_WANT_WRITE:
      wait(POLLOUT, std::nullopt);
      return true;
    case SSL_ERROR_ZERO_RETURN:
      return false;
    default:
      isBroken_ = true;
      return false;
  }
}

bool TlsStream::holdsBytes() const { return SSL_has_pending(ssl_.get()) == 1; }

void TlsStream::sayGoodbye() {
  // After a fatal error OpenSSL refuses every further call.
  if (isBroken_ || !context_->saysGoodbye() || SSL_is_init_finished(ssl_.get()) != 1) return;
  ERR_clear_error();
  SSL_shutdown(ssl_.get());
  ERR_clear_error();
}

}  // namespace corvane::testkit::detail
