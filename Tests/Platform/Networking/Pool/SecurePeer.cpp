#include "SecurePeer.hpp"

namespace platform::networking {

namespace {

using corvane::testkit::Certificate;
using corvane::testkit::TLSPeer;

void write(ByteStream& stream, std::string_view text) {
  const Bytes piece = std::as_bytes(std::span(text));
  if (stream.write({&piece, 1}).count != text.size()) throw std::runtime_error("a wire of memory takes everything");
}

}  // namespace

SecurePeer::SecurePeer(std::unique_ptr<PeerConnection> connection, const Certificate& certificate)
    : connection_(std::move(connection)),
      tls_(tlsWire_, certificate, TLSPeer::Options{.protocols = "\x02h2"}),
      http_(httpWire_) {}

void SecurePeer::turn() {
  if (!connection_) return;
  const std::string& received = connection_->received();
  write(*tlsClient_, std::string_view(received).substr(taken_));
  taken_ = received.size();
  tls_.listen();
  write(*httpClient_, std::string_view(tls_.received()).substr(decrypted_));
  decrypted_ = tls_.received().size();
  EXPECT_TRUE(http_.take());
  if (tls_.isConnected()) {
    if (const std::string ready = http_.ready(); !ready.empty()) tls_.write(ready);
  }
  if (const std::string output = tls_.takeOutput(); !output.empty() && !connection_->hasEnded()) {
    connection_->write(output);
  }
}

SecurePoolTest::SecurePoolTest() {
  challenge = [this](const auto& query) { pool.decide(query, std::nullopt); };
}

SecurePeer& SecurePoolTest::nextPeer() {
  std::unique_ptr<PeerConnection> accepted;
  EXPECT_TRUE(runAll([&] { return accepted || (accepted = peer.accept()); }));
  peers.push_back(std::make_unique<SecurePeer>(std::move(accepted), certificate));
  return *peers.back();
}

bool SecurePoolTest::runAll(const std::function<bool()>& until) {
  return run([&] {
    for (const auto& each : peers) each->turn();
    return until();
  });
}

}  // namespace platform::networking
