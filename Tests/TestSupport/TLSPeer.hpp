#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>
#include <string_view>

#include "CorvaneTesting/Certificate.hpp"
#include "TestSupport/MemoryStream.hpp"

namespace corvane::testkit {

/// The server's side of a TLS connection over a wire of memory, which does what it is told and nothing by itself.
class TLSPeer {
 public:
  struct Options {
    int oldest = TLS1_2_VERSION;
    int newest = TLS1_3_VERSION;
    bool requiresCertificate = false;
    /// As ALPN spells them: each after its length. Empty: none is chosen.
    std::string protocols;
  };

  TLSPeer(MemoryWire& wire, const Certificate& certificate, Options options);
  TLSPeer(MemoryWire& wire, const Certificate& certificate) : TLSPeer(wire, certificate, Options{}) {}

  /// Takes what the client wrote, and goes on with the handshake, or reads. What it has to say stays in `takeOutput`.
  void listen();
  /// The same, and sends what it has to say.
  void listenAndSend();
  /// What it has to say to the client, encrypted.
  std::string takeOutput();
  /// From now on each byte that `listenAndSend` sends is an event of its own.
  void sendByteByByte() { isByteByByte_ = true; }

  bool isConnected() const { return SSL_is_init_finished(ssl_.get()); }
  /// The content that the client sent so far.
  const std::string& received() const { return received_; }
  /// Why OpenSSL refused what the client sent; 0 when it did not.
  int refusal() const { return refusal_; }
  /// Whether the client said that it will not send more.
  bool heardGoodbye() const { return (SSL_get_shutdown(ssl_.get()) & SSL_RECEIVED_SHUTDOWN) != 0; }

  // Each leaves with `listenAndSend` or `takeOutput`.
  void write(std::string_view content);
  void sayGoodbye() { SSL_shutdown(ssl_.get()); }
  /// Asks for another handshake. Requires: TLS 1.2.
  void askForAnotherHandshake();
  /// Changes its keys, and asks the client to do the same. Requires: TLS 1.3.
  void askForNewKeys();

 private:
  std::string protocols_;
  MemoryWire& wire_;
  std::shared_ptr<SSL_CTX> context_;
  std::shared_ptr<SSL> ssl_;
  std::string received_;
  int refusal_ = 0;
  bool isByteByByte_ = false;
};

}  // namespace corvane::testkit
