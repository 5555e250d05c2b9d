#pragma once

#include <openssl/bio.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// The encrypted side of a TLS connection: stands between OpenSSL and the stream that carries its records.
///
/// OpenSSL never waits for writing: what the stream does not take is kept here, a record at most in regular use, and
/// leaves with `flush`. What cannot be written any more is dropped as if it were under way, so that a reader still
/// gets what the peer sent.
class TLSTransport {
 public:
  /// More than this left over is a peer that makes us speak and does not listen.
  static constexpr std::size_t mostUnsentBytes = std::size_t{256} * 1024;

  explicit TLSTransport(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {}
  TLSTransport(const TLSTransport&) = delete;
  TLSTransport& operator=(const TLSTransport&) = delete;

  /// What OpenSSL reads from and writes to; it lives no longer than this. Traps when there is no memory.
  BIO* makeBIO();
  ByteStream& stream() { return *stream_; }
  const ByteStream& stream() const { return *stream_; }

  /// Begins a call to OpenSSL that may read, at most so many bytes: a peer that sends records without content must not
  /// keep the call from ever returning.
  void beginTurn(std::size_t limit);
  /// OpenSSL was told in this iteration to come again, because the stream had no more or the limit was reached.
  bool isBlocked() const { return isBlocked_; }
  bool isTurnOver() const { return isTurnOver_; }
  /// The stream has more to read, or to tell.
  void noteReadable() { isDrained_ = false; }
  /// All bytes received so far.
  std::uint64_t receivedBytes() const { return receivedBytes_; }

  /// The peer ended the stream.
  bool hasEnded() const { return hasEnded_; }
  const std::optional<Failure>& readFailure() const { return readFailure_; }
  const std::optional<Failure>& writeFailure() const { return writeFailure_; }

  /// What is written from now on waits for `flush`, so that more can leave with it.
  void holdBack() { isHeldBack_ = true; }
  bool isHeldBack() const { return isHeldBack_; }
  /// Writes what was held back or left over; whether nothing is left. What is left otherwise leaves when the stream is
  /// writable.
  bool flush();

 private:
  static const BIO_METHOD* method();
  // OpenSSL calls these: no exception may pass through it.
  int read(BIO* bio, std::span<std::byte> room) noexcept;
  void write(Bytes bytes) noexcept;
  int readNow(BIO* bio, std::span<std::byte> room);
  void writeOrKeep(Bytes bytes);
  std::size_t writeNow(Bytes bytes);

  const std::unique_ptr<ByteStream> stream_;
  std::vector<std::byte> unsent_;
  std::size_t sentOfUnsent_ = 0;
  std::optional<Failure> readFailure_;
  std::optional<Failure> writeFailure_;
  std::uint64_t receivedBytes_ = 0;
  std::size_t turnBytesLeft_ = 0;
  bool isHeldBack_ = false;
  bool isBlocked_ = false;
  bool isTurnOver_ = false;
  bool isDrained_ = false;
  bool hasEnded_ = false;
};

}  // namespace platform::networking
