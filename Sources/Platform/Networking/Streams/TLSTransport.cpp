#include "Platform/Networking/Streams/TLSTransport.hpp"

#include <algorithm>
#include <new>

#include "Platform/Trap.hpp"

namespace platform::networking {

const BIO_METHOD* TLSTransport::method() {
  static BIO_METHOD* const method = [] {
    BIO_METHOD* made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "corvane stream");
    if (!made) trap("the TLS library is out of memory");
    BIO_meth_set_read(made, [](BIO* bio, char* room, int size) {
      return static_cast<TLSTransport*>(BIO_get_data(bio))
          ->read(bio, {reinterpret_cast<std::byte*>(room), static_cast<std::size_t>(size)});
    });
    BIO_meth_set_write(made, [](BIO* bio, const char* bytes, int size) {
      BIO_clear_retry_flags(bio);
      static_cast<TLSTransport*>(BIO_get_data(bio))
          ->write({reinterpret_cast<const std::byte*>(bytes), static_cast<std::size_t>(size)});
      return size;
    });
    BIO_meth_set_ctrl(made, [](BIO*, int command, long, void*) -> long { return command == BIO_CTRL_FLUSH ? 1 : 0; });
    return made;
  }();
  return method;
}

BIO* TLSTransport::makeBIO() {
  BIO* bio = BIO_new(method());
  if (!bio) trap("the TLS library is out of memory");
  BIO_set_data(bio, this);
  BIO_set_init(bio, 1);
  return bio;
}

void TLSTransport::beginTurn(std::size_t limit) {
  turnBytesLeft_ = limit;
  isBlocked_ = false;
  isTurnOver_ = false;
}

int TLSTransport::read(BIO* bio, std::span<std::byte> room) noexcept {
  try {
    return readNow(bio, room);
  } catch (const std::bad_alloc&) {
    readFailure_ = Failure::outOfMemory();
    return -1;
  }
}

int TLSTransport::readNow(BIO* bio, std::span<std::byte> room) {
  BIO_clear_retry_flags(bio);
  if (hasEnded_ || readFailure_) return -1;
  if (!isDrained_ && turnBytesLeft_ > 0) {
    const IOResult result = stream_->read(room);
    if (result.status == IOStatus::done) {
      isDrained_ = result.isDrained;
      receivedBytes_ += result.count;
      turnBytesLeft_ -= std::min(turnBytesLeft_, result.count);
      return static_cast<int>(result.count);
    }
    if (result.status == IOStatus::closed) {
      hasEnded_ = true;
      return -1;
    }
    if (result.status == IOStatus::failed) {
      readFailure_ = stream_->failure();
      return -1;
    }
    isDrained_ = true;
  }
  isBlocked_ = true;
  isTurnOver_ = !isDrained_;
  BIO_set_retry_read(bio);
  return -1;
}

void TLSTransport::write(Bytes bytes) noexcept {
  try {
    writeOrKeep(bytes);
  } catch (const std::bad_alloc&) {
    writeFailure_ = Failure::outOfMemory();
  }
}

void TLSTransport::writeOrKeep(Bytes bytes) {
  const std::size_t sent = unsent_.empty() && !isHeldBack_ ? writeNow(bytes) : 0;
  if (writeFailure_ || sent == bytes.size()) return;
  if (unsent_.size() + bytes.size() - sent > mostUnsentBytes) {
    writeFailure_ = Failure{FailureCause::connectionLost, "the peer does not read what it asks for", 0};
    unsent_ = {};
    return;
  }
  unsent_.insert(unsent_.end(), bytes.begin() + static_cast<std::ptrdiff_t>(sent), bytes.end());
}

std::size_t TLSTransport::writeNow(Bytes bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const Bytes rest = bytes.subspan(sent);
    const IOResult result = stream_->write({&rest, 1});
    if (result.status == IOStatus::failed) {
      writeFailure_ = stream_->failure();
      // What the peer said before it went is still to be read, though nobody was told of it yet.
      isDrained_ = false;
    }
    if (result.status != IOStatus::done) break;
    sent += result.count;
  }
  return sent;
}

bool TLSTransport::flush() {
  isHeldBack_ = false;
  if (unsent_.empty()) return true;
  sentOfUnsent_ += writeNow(Bytes(unsent_).subspan(sentOfUnsent_));
  if (!writeFailure_ && sentOfUnsent_ < unsent_.size()) return false;
  // An idle connection keeps no buffer.
  unsent_ = {};
  sentOfUnsent_ = 0;
  return true;
}

}  // namespace platform::networking
