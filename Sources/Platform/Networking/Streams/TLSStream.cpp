#include "Platform/Networking/Streams/TLSStream.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Networking/Streams/TLSFailures.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"

namespace platform::networking {

using detail::OpenSSLErrorScope;
using detail::OpenSSLUse;

namespace {

/// The content of a record (RFC 8446, 5.1).
constexpr std::size_t recordBytes = std::size_t{16} * 1024;
/// What one call to OpenSSL may read beyond what it is asked for.
constexpr std::size_t turnBytes = std::size_t{128} * 1024;
/// What one call writes at most, so that one fast peer does not hold up all others.
constexpr std::size_t mostWrittenBytes = std::size_t{256} * 1024;

Failure processExits() { return {FailureCause::connectionLost, "the process exits", 0}; }

}  // namespace

IOResult TLSStream::read(std::span<std::byte> room) {
  if (room.empty() || state_ == State::handshaking || state_ == State::judging) return {};
  if (state_ == State::failed) return {IOStatus::failed};
  const OpenSSLUse use;
  if (!use) {
    failure_ = processExits();
    return {IOStatus::failed};
  }
  const OpenSSLErrorScope errors;
  transport_.beginTurn(room.size() + turnBytes);
  std::size_t filled = 0;
  while (readEnd_ == ReadEnd::none && filled < room.size()) {
    std::size_t count = 0;
    if (SSL_read_ex(ssl_, room.data() + filled, room.size() - filled, &count) == 1) {
      filled += count;
    } else if (transport_.isBlocked()) {
      break;
    } else {
      endReading();
    }
  }
  return afterReading(filled);
}

IOResult TLSStream::afterReading(std::size_t filled) {
  // What follows the bytes, an end or a failure, is told by the next call.
  if (filled > 0) return {IOStatus::done, filled, transport_.isBlocked() && !transport_.isTurnOver()};
  if (readEnd_ == ReadEnd::closed) return {IOStatus::closed};
  if (readEnd_ == ReadEnd::failed) return {IOStatus::failed};
  if (transport_.isTurnOver()) readLater();
  return {};
}

void TLSStream::endReading() {
  if (receivedAlert_ == SSL_AD_CLOSE_NOTIFY) {
    readEnd_ = ReadEnd::closed;
    return;
  }
  readEnd_ = ReadEnd::failed;
  if (receivedAlert_ >= 0) {
    failure_ = failureOfAlert(receivedAlert_, false, certificate_);
  } else if (transport_.readFailure()) {
    failure_ = transport_.readFailure();
  } else if (transport_.hasEnded()) {
    failure_ = Failure{FailureCause::connectionLost, "the TLS stream ended without its closing alert", 0};
  } else {
    failure_ = failureOfLibrary(false);
  }
}

IOResult TLSStream::write(std::span<const Bytes> pieces) {
  if (state_ == State::failed) return {IOStatus::failed};
  const OpenSSLUse use;
  if (!use) {
    failure_ = processExits();
    return {IOStatus::failed};
  }
  const OpenSSLErrorScope errors;
  std::size_t sent = 0;
  while (state_ == State::open && (transport_.isHeldBack() || transport_.flush()) && !transport_.writeFailure()) {
    const Bytes record = nextRecord(pieces, sent);
    if (record.empty() || sent >= mostWrittenBytes) return {IOStatus::done, sent};
    if (!writeRecord(record, sent)) return {IOStatus::failed};
  }
  if (transport_.writeFailure()) {
    failure_ = transport_.writeFailure();
    return {IOStatus::failed};
  }
  if (sent > 0) return {IOStatus::done, sent};
  waitsForWriting_ = true;
  return {};
}

/// Small pieces are put together, since a record costs more than a copy; large ones are encrypted from where they are.
Bytes TLSStream::nextRecord(std::span<const Bytes> pieces, std::size_t offset) {
  auto piece = pieces.begin();
  while (piece != pieces.end() && offset >= piece->size()) offset -= (piece++)->size();
  if (piece == pieces.end()) return {};
  const Bytes first = piece->subspan(offset);
  if (first.size() >= recordBytes || piece + 1 == pieces.end()) return first.first(std::min(first.size(), recordBytes));
  const std::span<std::byte> room = context_->scratch().first(recordBytes);
  std::size_t filled = 0;
  for (Bytes next = first; filled < room.size();) {
    const std::size_t count = std::min(next.size(), room.size() - filled);
    if (count > 0) std::memcpy(room.data() + filled, next.data(), count);
    filled += count;
    if (++piece == pieces.end()) break;
    next = *piece;
  }
  return room.first(filled);
}

bool TLSStream::writeRecord(Bytes bytes, std::size_t& sent) {
  std::size_t count = 0;
  if (SSL_write_ex(ssl_, bytes.data(), bytes.size(), &count) == 1) {
    sent += count;
    return sendLastFlight();
  }
  failure_ = failureOfLibrary(false);
  return false;
}

IOResult TLSStream::sendFile(int file, off_t offset, std::size_t count) {
  const std::span<std::byte> scratch = context_->scratch();
  const std::span<std::byte> room = scratch.first(std::min(count, scratch.size()));
  const ssize_t got = detail::uninterrupted([&] { return ::pread(file, room.data(), room.size(), offset); });
  if (got < 0) {
    failure_ = Failure{FailureCause::requestBody, "the file could not be read", errno};
    return {IOStatus::failed};
  }
  if (got == 0) return {IOStatus::done};
  const Bytes piece(room.data(), static_cast<std::size_t>(got));
  return write({&piece, 1});
}

void TLSStream::shutDown() {
  const OpenSSLUse use;
  if (use && state_ == State::open && readEnd_ != ReadEnd::failed) {
    const OpenSSLErrorScope errors;
    transport_.beginTurn(0);
    SSL_shutdown(ssl_);
  }
  transport_.flush();
  transport_.stream().shutDown();
}

void TLSStream::streamReadable() {
  transport_.noteReadable();
  if (owner()) owner()->streamReadable();
}

void TLSStream::streamWritable() {
  if (!transport_.flush()) return;
  if (std::exchange(waitsForWriting_, false) && owner()) owner()->streamWritable();
}

void TLSStream::readLater() {
  readsLater_ = true;
  loop_.defer(*this);
}

void TLSStream::runDeferred() {
  const bool hasFailed = !sendLastFlight();
  if ((std::exchange(readsLater_, false) || hasFailed) && owner()) owner()->streamReadable();
}

}  // namespace platform::networking
