#pragma once

#include <memory>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "PoolHarness.hpp"
#include "TestSupport/HTTP2Peer.hpp"
#include "TestSupport/MemoryStream.hpp"
#include "TestSupport/TLSPeer.hpp"

namespace platform::networking {

/// A server's end of one connection that speaks HTTP/2 over TLS.
class SecurePeer {
 public:
  SecurePeer(std::unique_ptr<PeerConnection> connection, const corvane::testkit::Certificate& certificate);

  /// Takes what the client sent, and sends what is ready.
  void turn();
  corvane::testkit::HTTP2Peer& http() { return http_; }
  std::size_t requestCount() const { return http_.requests().size(); }
  bool hasEnded() { return connection_->hasEnded(); }
  /// Breaks the connection.
  void drop() { connection_.reset(); }

 private:
  std::unique_ptr<PeerConnection> connection_;
  std::size_t taken_ = 0;      // of what the client sent
  std::size_t decrypted_ = 0;  // of that, once decrypted
  corvane::testkit::MemoryWire tlsWire_;
  corvane::testkit::TLSPeer tls_;
  corvane::testkit::MemoryWire httpWire_;
  std::unique_ptr<ByteStream> tlsClient_ = tlsWire_.makeStream();
  std::unique_ptr<ByteStream> httpClient_ = httpWire_.makeStream();
  corvane::testkit::HTTP2Peer http_;
};

/// A pool whose servers are trusted, and speak HTTP/2 over TLS.
class SecurePoolTest : public ConnectionPoolTest {
 protected:
  SecurePoolTest();

  void submit(PooledGet& get, Duration idleTimeout = timeout) { ConnectionPoolTest::submit(get, true, idleTimeout); }
  /// The connection that the pool makes next, with its handshake done.
  SecurePeer& nextPeer();
  /// Lets all go on until then.
  [[nodiscard]] bool runAll(const std::function<bool()>& until);
  void respond(SecurePeer& server, std::size_t request, std::string body = "fine") {
    server.http().respond(server.http().request(request).id, {{":status", "200"}}, std::move(body));
  }

  const corvane::testkit::CertificateAuthority root;
  const corvane::testkit::Certificate certificate{root.issue(corvane::testkit::CertificateRequest::localhost())};
  std::vector<std::unique_ptr<SecurePeer>> peers;
};

}  // namespace platform::networking
