#include "Platform/Loading/Internal/TrustGate.hpp"

#include <openssl/bio.h>
#include <openssl/x509_vfy.h>

#include <string_view>
#include <utility>

#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

namespace {

/// What connections of one SSL context need to make their gate.
struct Target {
  std::string host;
  int port;
  TrustGateOwner& owner;
};

int targetIndex() {
  static const int index = SSL_CTX_get_ex_new_index(
      0, nullptr, nullptr, nullptr,
      [](void*, void* value, CRYPTO_EX_DATA*, int, long, void*) { delete static_cast<Target*>(value); });
  return index;
}

int gateIndex() {
  static const int index =
      SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, [](void*, void* value, CRYPTO_EX_DATA*, int, long, void*) {
        delete static_cast<std::shared_ptr<TrustGate>*>(value);
      });
  return index;
}

/// Accepts for the moment; the gate keeps the rest of the handshake back until the real decision.
int rememberChain(X509_STORE_CTX* context, void*) {
  auto* connection = static_cast<SSL*>(X509_STORE_CTX_get_ex_data(context, SSL_get_ex_data_X509_STORE_CTX_idx()));
  const auto* target = static_cast<Target*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), targetIndex()));
  STACK_OF(X509)* received = X509_STORE_CTX_get0_untrusted(context);
  if (!target || !received || sk_X509_num(received) == 0) return 0;
  auto gate = std::make_unique<std::shared_ptr<TrustGate>>(
      std::make_shared<TrustGate>(certificatesFromChain(received), target->host, target->port));
  if (SSL_set_ex_data(connection, gateIndex(), gate.get()) != 1) return 0;
  const std::shared_ptr<TrustGate> made = *gate.release();
  made->hold(connection);
  target->owner.gateClosed(made);
  X509_STORE_CTX_set_error(context, X509_V_OK);
  return 1;
}

/// libcurl takes every end of a stream for its proper end, so the alert is looked for here.
void noticeAlert(const SSL* connection, int where, int value) {
  if ((where & SSL_CB_READ_ALERT) != SSL_CB_READ_ALERT || (value & 0xff) != SSL_AD_CLOSE_NOTIFY) return;
  if (const auto gate = TrustGate::of(connection)) gate->noteClosingAlert();
}

// A filter in front of the connection's write side. Its data is the gate.

/// What cannot be sent any more is dropped, as if it were under way: the TLS library and libcurl would give the
/// connection up at once, with the answer that it may still hold. Whoever reads gets that, and then the failure.
int gatedWrite(BIO* filter, const char* bytes, int count) {
  auto* gate = static_cast<TrustGate*>(BIO_get_data(filter));
  BIO_clear_retry_flags(filter);
  if (gate->state() == TrustGate::State::undecided) {
    BIO_set_retry_write(filter);
    return -1;
  }
  if (gate->state() == TrustGate::State::rejected) return -1;
  const int written = BIO_write(BIO_next(filter), bytes, count);
  BIO_copy_next_retry(filter);
  if (written > 0 || BIO_should_retry(filter)) return written;
  gate->noteLostOutput();
  return count;
}

long gatedControl(BIO* filter, int command, long number, void* pointer) {
  return BIO_ctrl(BIO_next(filter), command, number, pointer);
}

const BIO_METHOD* gateMethod() {
  static BIO_METHOD* const method = [] {
    BIO_METHOD* made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_FILTER, "corvane trust gate");
    if (!made) trap("the TLS library is out of memory");
    BIO_meth_set_write(made, gatedWrite);
    BIO_meth_set_ctrl(made, gatedControl);
    BIO_meth_set_create(made, [](BIO* bio) {
      BIO_set_init(bio, 1);
      return 1;
    });
    return made;
  }();
  return method;
}

}  // namespace

void TrustGate::install(SSL_CTX* context, const std::string& host, int port, TrustGateOwner& owner) {
  delete static_cast<Target*>(SSL_CTX_get_ex_data(context, targetIndex()));
  SSL_CTX_set_ex_data(context, targetIndex(), new Target{host, port, owner});
  SSL_CTX_set_cert_verify_callback(context, rememberChain, nullptr);
  // A renegotiation could show another certificate behind the decision's back.
  SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION);
  SSL_CTX_set_info_callback(context, noticeAlert);
  SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
}

std::shared_ptr<TrustGate> TrustGate::of(const SSL* connection) {
  const auto* gate = static_cast<std::shared_ptr<TrustGate>*>(SSL_get_ex_data(connection, gateIndex()));
  return gate ? *gate : nullptr;
}

bool TrustGate::isMultiplexed(const SSL* connection) {
  const unsigned char* protocol = nullptr;
  unsigned length = 0;
  SSL_get0_alpn_selected(connection, &protocol, &length);
  return std::string_view(reinterpret_cast<const char*>(protocol), length) == "h2";
}

void TrustGate::hold(SSL* connection) {
  BIO* filter = BIO_new(gateMethod());
  BIO* output = SSL_get_wbio(connection);
  if (!filter || BIO_up_ref(output) != 1) trap("the TLS library is out of memory");
  BIO_set_data(filter, this);
  SSL_set0_wbio(connection, BIO_push(filter, output));
}

void TrustGate::accept() {
  if (state_ == State::undecided) state_ = State::accepted;
}

void TrustGate::reject(Error reason) {
  if (state_ != State::undecided) return;
  state_ = State::rejected;
  reason_ = std::move(reason);
}

}  // namespace platform::detail
