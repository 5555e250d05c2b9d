#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform::detail {

class TrustGate;

/// Who waits for connections to be trusted.
class TrustGateOwner {
 public:
  /// A server showed its chain; nothing goes to it until the gate is decided.
  virtual void gateClosed(std::shared_ptr<TrustGate> gate) = 0;

 protected:
  ~TrustGateOwner() = default;
};

/// Keeps a new TLS connection from sending anything until its server is trusted. Loop side only.
///
/// The delegate that decides runs on a queue of its own and may take its time, while the TLS library wants
/// an answer inside its verify callback. So the callback accepts for the moment, remembers the chain, and
/// puts a filter in front of the connection's write side that answers "try again later": the handshake gets
/// stuck before its last flight, whatever is to be spoken after it. `accept` lets everything through; after
/// `reject` every write fails.
/// Sessions of earlier connections are never resumed, since a resumed one shows no certificate.
class TrustGate {
 public:
  enum class State { undecided, accepted, rejected };

  /// Prepares the connections of an SSL context to get a gate; `host` is copied. The owner must outlive the
  /// handshakes.
  static void install(SSL_CTX* context, const std::string& host, int port, TrustGateOwner& owner);
  /// The gate of a connection whose server showed its chain; null otherwise.
  static std::shared_ptr<TrustGate> of(const SSL* connection);

  TrustGate(std::vector<SecCertificate> chain, std::string host, int port)
      : chain_(std::move(chain)), host_(std::move(host)), port_(port) {}

  const std::vector<SecCertificate>& chain() const { return chain_; }
  const std::string& host() const { return host_; }
  int port() const { return port_; }
  State state() const { return state_; }
  bool isUndecided() const { return state_ == State::undecided; }
  /// Why it was rejected.
  const std::optional<Error>& reason() const { return reason_; }

  /// Whether the connection carries several exchanges at a time (HTTP/2). Requires: its handshake is over.
  static bool isMultiplexed(const SSL* connection);

  /// Whether the server announced the end of its stream (RFC 8446, 6.1), so that it was not cut off.
  bool sawClosingAlert() const { return sawClosingAlert_; }

  /// Whether the connection broke while something was being written. There may be something left to read.
  bool lostOutput() const { return lostOutput_; }

  /// Lets nothing through from here on. Requires: the handshake of `connection` is under way.
  void hold(SSL* connection);
  void accept();
  void reject(Error reason);
  void noteClosingAlert() { sawClosingAlert_ = true; }
  /// The connection broke: what is written from here on goes nowhere.
  void noteLostOutput() { lostOutput_ = true; }

 private:
  std::vector<SecCertificate> chain_;
  std::string host_;
  int port_;
  State state_ = State::undecided;
  bool sawClosingAlert_ = false;
  bool lostOutput_ = false;
  std::optional<Error> reason_;
};

}  // namespace platform::detail
