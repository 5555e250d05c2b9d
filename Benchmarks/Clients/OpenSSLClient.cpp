#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <stdexcept>

#include "Clients/Client.hpp"
#include "Clients/ResponseReader.hpp"
#include "Harness/Descriptor.hpp"

namespace bench {
namespace {

/// The floor of TLS: OpenSSL over a blocking socket, with one context that read the anchors once and that
/// checks chain and host. It makes a new connection when the server closes the old one, and resumes the session before
/// where the task asks for that.
class OpenSSLClient final : public Client {
 public:
  explicit OpenSSLClient(const Task& task)
      : task_(task), request_(requestText(task)), context_(SSL_CTX_new(TLS_client_method())), buffer_(16 * 1024) {
    const std::string anchors = task.certificateFolder + "/anchors.pem";
    if (SSL_CTX_load_verify_locations(context_, anchors.c_str(), nullptr) != 1) {
      throw std::runtime_error("OpenSSL cannot read " + anchors);
    }
    SSL_CTX_set_verify(context_, SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_app_data(context_, this);
    const bool resumes = task.wire == Wire::resumed;
    SSL_CTX_set_session_cache_mode(context_,
                                   resumes ? SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL : SSL_SESS_CACHE_OFF);
    if (resumes) SSL_CTX_sess_set_new_cb(context_, keepSession);
  }
  ~OpenSSLClient() override {
    close();
    SSL_SESSION_free(session_);
    SSL_CTX_free(context_);
  }

  void run(int count) override {
    for (int done = 0; done < count; ++done) exchange();
  }

 private:
  static int keepSession(SSL* tls, SSL_SESSION* session) {
    auto& client = *static_cast<OpenSSLClient*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(tls)));
    SSL_SESSION_free(std::exchange(client.session_, session));
    return 1;
  }

  void open() {
    socket_ = connectToLoopback(task_.port);
    tls_ = SSL_new(context_);
    X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(tls_), "127.0.0.1");
    SSL_set_fd(tls_, socket_.number());
    const bool resumes = session_ != nullptr;
    if (resumes) SSL_set_session(tls_, session_);
    if (SSL_connect(tls_) != 1) throw std::runtime_error("The TLS handshake failed");
    if ((SSL_session_reused(tls_) == 1) != resumes) throw std::runtime_error("The TLS session was not resumed");
  }

  void close() {
    if (!tls_) return;
    SSL_shutdown(tls_);
    SSL_free(std::exchange(tls_, nullptr));
    socket_.close();
  }

  void exchange() {
    if (!tls_) open();
    if (SSL_write(tls_, request_.data(), static_cast<int>(request_.size())) <= 0) throw std::runtime_error("SSL_write");
    ResponseReader reader;
    for (bool complete = false; !complete;) {
      const int count = SSL_read(tls_, buffer_.data(), static_cast<int>(buffer_.size()));
      if (count <= 0) throw std::runtime_error("The TLS connection was closed");
      complete = reader.take(buffer_.data(), static_cast<std::size_t>(count), task_.bodyBytes);
    }
    if (task_.path == "/close") close();
  }

  const Task task_;
  const std::string request_;
  SSL_CTX* const context_;
  SSL* tls_ = nullptr;
  SSL_SESSION* session_ = nullptr;
  Descriptor socket_;
  std::vector<char> buffer_;
};

}  // namespace

std::unique_ptr<Client> makeOpenSSLClient(const Task& task) { return std::make_unique<OpenSSLClient>(task); }

}  // namespace bench
