#include "TestSupport/TLSPeer.hpp"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <stdexcept>
#include <utility>

namespace corvane::testkit {

namespace {

using BIOPointer = std::unique_ptr<BIO, decltype(&BIO_free)>;

BIOPointer reading(const std::string& text) {
  return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free};
}

void use(SSL_CTX* context, const Certificate& certificate) {
  const std::unique_ptr<X509, decltype(&X509_free)> leaf(
      PEM_read_bio_X509(reading(certificate.pem()).get(), nullptr, nullptr, nullptr), X509_free);
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      PEM_read_bio_PrivateKey(reading(certificate.keyPem()).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
  if (SSL_CTX_use_certificate(context, leaf.get()) != 1 || SSL_CTX_use_PrivateKey(context, key.get()) != 1) {
    throw std::runtime_error("the certificate cannot be used");
  }
}

int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
                   unsigned offeredSize, void* protocols) {
  const auto& ours = *static_cast<std::string*>(protocols);
  unsigned char* out = nullptr;
  if (SSL_select_next_proto(&out, size, reinterpret_cast<const unsigned char*>(ours.data()),
                            static_cast<unsigned>(ours.size()), offered, offeredSize) != OPENSSL_NPN_NEGOTIATED) {
    return SSL_TLSEXT_ERR_NOACK;
  }
  *chosen = out;
  return SSL_TLSEXT_ERR_OK;
}

}  // namespace

TLSPeer::TLSPeer(MemoryWire& wire, const Certificate& certificate, Options options)
    : protocols_(std::move(options.protocols)), wire_(wire), context_(SSL_CTX_new(TLS_server_method()), SSL_CTX_free) {
  use(context_.get(), certificate);
  SSL_CTX_set_security_level(context_.get(), options.newest < TLS1_2_VERSION ? 0 : 1);
  SSL_CTX_set_min_proto_version(context_.get(), options.oldest);
  SSL_CTX_set_max_proto_version(context_.get(), options.newest);
  if (options.requiresCertificate) {
    SSL_CTX_set_verify(context_.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
  }
  if (!protocols_.empty()) SSL_CTX_set_alpn_select_cb(context_.get(), chooseProtocol, &protocols_);
  ssl_.reset(SSL_new(context_.get()), SSL_free);
  SSL_set_bio(ssl_.get(), BIO_new(BIO_s_mem()), BIO_new(BIO_s_mem()));
  SSL_set_accept_state(ssl_.get());
}

void TLSPeer::listen() {
  const std::string bytes = wire_.takeWritten();
  if (!bytes.empty()) BIO_write(SSL_get_rbio(ssl_.get()), bytes.data(), static_cast<int>(bytes.size()));
  ERR_clear_error();
  char room[4096];
  int count = 0;
  while ((count = SSL_read(ssl_.get(), room, sizeof room)) > 0) received_.append(room, static_cast<std::size_t>(count));
  if (SSL_get_error(ssl_.get(), count) == SSL_ERROR_SSL) refusal_ = ERR_GET_REASON(ERR_get_error());
}

void TLSPeer::listenAndSend() {
  listen();
  const std::string output = takeOutput();
  if (output.empty()) return;
  if (isByteByByte_) {
    wire_.receiveByteByByte(output);
  } else {
    wire_.receive(output);
  }
}

std::string TLSPeer::takeOutput() {
  BIO* output = SSL_get_wbio(ssl_.get());
  std::string bytes(BIO_ctrl_pending(output), '\0');
  if (!bytes.empty()) BIO_read(output, bytes.data(), static_cast<int>(bytes.size()));
  return bytes;
}

void TLSPeer::write(std::string_view content) {
  if (SSL_write(ssl_.get(), content.data(), static_cast<int>(content.size())) <= 0) {
    throw std::runtime_error("the peer cannot write");
  }
}

void TLSPeer::askForAnotherHandshake() {
  SSL_renegotiate(ssl_.get());
  SSL_do_handshake(ssl_.get());
}

void TLSPeer::askForNewKeys() {
  SSL_key_update(ssl_.get(), SSL_KEY_UPDATE_REQUESTED);
  SSL_do_handshake(ssl_.get());
}

}  // namespace corvane::testkit
