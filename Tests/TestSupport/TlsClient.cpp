#include "TestSupport/TlsClient.hpp"

#include <arpa/inet.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <stdexcept>

#include "CorvaneTesting/Internal/SocketBio.hpp"

namespace corvane::testkit {

namespace {

void trust(SSL_CTX* context, const std::string& pem) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> source(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())),
                                                         BIO_free);
  const std::unique_ptr<X509, decltype(&X509_free)> root(PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr),
                                                         X509_free);
  if (!root || X509_STORE_add_cert(SSL_CTX_get_cert_store(context), root.get()) != 1) {
    throw std::runtime_error("cannot trust the root");
  }
}

bool isAddress(const std::string& name) {
  unsigned char bytes[sizeof(in6_addr)];
  return ::inet_pton(AF_INET, name.c_str(), bytes) == 1 || ::inet_pton(AF_INET6, name.c_str(), bytes) == 1;
}

}  // namespace

TlsClient::TlsClient(const TestServer& server, const Settings& settings)
    : transport_(server), context_(SSL_CTX_new(TLS_client_method()), SSL_CTX_free) {
  trust(context_.get(), settings.trustedPem);
  SSL_CTX_set_verify(context_.get(), SSL_VERIFY_PEER, nullptr);
  ssl_.reset(SSL_new(context_.get()), SSL_free);
  BIO* bio = detail::makeSocketBio(transport_.descriptor());
  SSL_set_bio(ssl_.get(), bio, bio);
  if (isAddress(settings.name)) {
    X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl_.get()), settings.name.c_str());
  } else {
    SSL_set1_host(ssl_.get(), settings.name.c_str());
    SSL_set_tlsext_host_name(ssl_.get(), settings.name.c_str());
  }
  isConnected_ = SSL_connect(ssl_.get()) == 1;
  const long result = SSL_get_verify_result(ssl_.get());
  if (result != X509_V_OK) verifyError_ = X509_verify_cert_error_string(result);
}

void TlsClient::send(std::string_view bytes) {
  if (SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size())) <= 0) throw std::runtime_error("cannot send");
}

std::string TlsClient::receive() {
  char piece[16 * 1024];
  const int count = SSL_read(ssl_.get(), piece, sizeof piece);
  if (count > 0) return std::string(piece, static_cast<std::size_t>(count));
  sawGoodbye_ = SSL_get_error(ssl_.get(), count) == SSL_ERROR_ZERO_RETURN;
  return {};
}

std::string TlsClient::receiveAll() {
  std::string all;
  for (std::string piece = receive(); !piece.empty(); piece = receive()) all += piece;
  return all;
}

std::string TlsClient::receiveUntil(std::string_view text) {
  std::string all;
  while (!all.ends_with(text)) {
    const std::string piece = receive();
    if (piece.empty()) throw std::runtime_error("the stream ended after: " + all);
    all += piece;
  }
  return all;
}

std::string TlsClient::exchange(std::string_view request) {
  send(request);
  return receiveAll();
}

}  // namespace corvane::testkit
