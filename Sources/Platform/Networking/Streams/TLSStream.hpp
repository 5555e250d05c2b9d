#pragma once

#include <openssl/ssl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Platform/Networking/Connecting/Route.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"
#include "Platform/Networking/Streams/TLSFailures.hpp"
#include "Platform/Networking/Streams/TLSTransport.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform::networking {

/// A TLS connection over another stream, from the client's side.
///
/// `handshake` comes first: until it says `open`, `streamReadable` means to call it again. It pauses while the server
/// is judged; nothing goes to the server meanwhile. What it writes last leaves with the first bytes of the application,
/// or in the next iteration; if it cannot, writing or reading fails as the handshake would. The end of the stream is
/// `closed` only after the server's closing alert (RFC 8446, 6.1); without it, reading fails.
class TLSStream final : public ByteStream, private StreamOwner, private Deferred {
 public:
  enum class State : std::uint8_t {
    handshaking,  ///< waits for the server
    judging,      ///< waits for `applyVerdict`
    open,         ///< can be read and written
    failed        ///< `failure` says why
  };

  /// Offers to resume a session of that origin, if the context has one. Traps when there is no memory.
  TLSStream(EventLoop& loop, std::shared_ptr<TLSContext> context, std::unique_ptr<ByteStream> stream, Origin origin);
  ~TLSStream() override;

  /// Goes on with the handshake as far as it can.
  State handshake();
  /// As received, the server's own first. Kept only while the server is to be judged.
  const std::vector<SecCertificate>& chain() const { return chain_; }
  /// The verdict on the server; `handshake` then goes on, or fails with `serverNotTrusted`. Requires: it is `judging`.
  void applyVerdict(bool isServerTrusted);
  /// As agreed in the handshake (RFC 7301); empty when nothing was.
  std::string_view agreedProtocol() const;
  bool wasResumed() const;
  /// "TLSv1.3" or "TLSv1.2", once the handshake is over.
  const char* version() const { return SSL_get_version(ssl_); }
  /// OpenSSL's name of it.
  const char* cipher() const { return SSL_get_cipher_name(ssl_); }
  /// `TLSContext::trustEpoch` when the handshake began.
  std::uint64_t trustEpoch() const { return trustEpoch_; }
  /// All bytes that came from the server, encrypted.
  std::uint64_t receivedBytes() const { return transport_.receivedBytes(); }

  IOResult read(std::span<std::byte> room) override;
  /// Encrypted they are more, but OpenSSL may hold the beginning of a record already.
  void expect(std::uint64_t count) override {
    transport_.stream().expect(count - std::min(count, std::uint64_t{SSL3_RT_MAX_PACKET_SIZE}));
  }
  IOResult write(std::span<const Bytes> pieces) override;
  IOResult sendFile(int file, off_t offset, std::size_t count) override;
  void shutDown() override;
  bool hasNews() const override { return transport_.stream().hasNews(); }
  bool isSecure() const override { return true; }
  const std::optional<Failure>& failure() const override { return failure_; }
  int descriptor() const override { return transport_.stream().descriptor(); }

 private:
  friend class TLSContext;
  enum class Verdict : std::uint8_t { none, asked, trusted, refused };
  enum class ReadEnd : std::uint8_t { none, closed, failed };

  // Called by OpenSSL.
  static int judge(X509_STORE_CTX* store, void*);
  static void noteAlert(const SSL* ssl, int where, int value);
  static int noteCertificateRequest(SSL* ssl, void*);
  static void logKeys(const SSL* ssl, const char* line);
  static int keepSession(SSL* ssl, SSL_SESSION* session);
  static TLSStream& of(const SSL* ssl) { return *static_cast<TLSStream*>(SSL_get_app_data(ssl)); }

  void streamReadable() override;
  void streamWritable() override;
  void runDeferred() override;

  State failHandshake(Failure failure);
  /// Now, or when the session began that was resumed.
  bool isTrusted() const;
  bool sendLastFlight();
  Failure reasonOfHandshake() const;
  IOResult afterReading(std::size_t filled);
  void endReading();
  void readLater();
  bool writeRecord(Bytes bytes, std::size_t& sent);
  Bytes nextRecord(std::span<const Bytes> pieces, std::size_t offset);

  EventLoop& loop_;
  const std::shared_ptr<TLSContext> context_;
  TLSTransport transport_;
  const Origin origin_;
  const std::uint64_t trustEpoch_;
  SSL* const ssl_;
  std::vector<SecCertificate> chain_;
  std::optional<Failure> failure_;
  State state_ = State::handshaking;
  Verdict verdict_ = Verdict::none;
  ReadEnd readEnd_ = ReadEnd::none;
  /// The last alert that came from the server; -1: none.
  int receivedAlert_ = -1;
  ClientCertificate certificate_ = ClientCertificate::notAskedFor;
  bool waitsForWriting_ = false;
  /// The turn was over before the stream had no more.
  bool readsLater_ = false;
};

}  // namespace platform::networking
