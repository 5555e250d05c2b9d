#include "Platform/Networking/Streams/SocketStream.hpp"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>
#include <utility>

#include "Platform/Foundation/Internal/RaisedSignalGuard.hpp"

namespace platform::networking {

using detail::uninterrupted;

namespace {

/// As many pieces as one call takes here; the caller comes again with the rest.
constexpr std::size_t mostPieces = 16;
/// What one `sendfile` is asked for at most, so that one fast peer does not hold up all others.
constexpr std::size_t mostFileBytes = std::size_t{1} << 20;

/// Where a turn received so much, the peer is fast.
constexpr std::size_t fastTurnBytes = std::size_t{64} * 1024;
/// How many bytes are waited for then, at most, and how long.
constexpr int gatheredBytes = 128 * 1024;
constexpr Duration gatheringLimit = std::chrono::milliseconds(2);
/// What a fast peer may send while nothing is read. Were it as little as is waited for, either side would wait for the
/// other in turn.
constexpr int largeWindow = 2 * 1024 * 1024;

bool wouldBlock(int error) { return error == EAGAIN || error == EWOULDBLOCK; }

}  // namespace

std::unique_ptr<SocketStream> SocketStream::make(EventLoop& loop, detail::FileDescriptor socket, int& systemError) {
  // Small requests leave at once (RFC 896 would hold them back). Sockets of other kinds know no such option.
  const int on = 1;
  ::setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::unique_ptr<SocketStream> stream(new SocketStream(loop, std::move(socket)));
  systemError = loop.watch(stream->socket_.number(), *stream, EventOrder::afterCommands);
  if (systemError != 0) return nullptr;
  return stream;
}

SocketStream::~SocketStream() {
  if (isGone_) *isGone_ = true;
  loop_.disarm(*this);
  loop_.unwatch(socket_.number());
}

int SocketStream::connectionError() const {
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(socket_.number(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  return error;
}

// The address is left behind only in a stream that is gone, which GCC cannot know.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
void SocketStream::descriptorReady(Readiness readiness) {
  if (readiness.hungUp) hungUp_ = true;
  if (readiness.readable) {
    receivedInTurn_ = 0;
    loop_.disarm(*this);
  }
  bool isGone = false;
  isGone_ = &isGone;
  // What the peer said comes first: it may explain why writing fails.
  if (readiness.readable && owner()) owner()->streamReadable();
  if (isGone) return;
  isGone_ = nullptr;
  if (readiness.writable && owner() && std::exchange(waitsForWriting_, false)) owner()->streamWritable();
}
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic pop
#endif

IOResult SocketStream::read(std::span<std::byte> room) {
  const ssize_t count = uninterrupted([&] { return ::recv(socket_.number(), room.data(), room.size(), 0); });
  if (count > 0) {
    const auto filled = static_cast<std::size_t>(count);
    receivedInTurn_ += filled;
    return {IOStatus::done, filled, filled < room.size() && !hungUp_};
  }
  if (count == 0) {
    if (room.empty()) return {};
    if (!isBroken_) return {IOStatus::closed};
    return {IOStatus::failed};
  }
  if (wouldBlock(errno)) return {};
  return failed(errno, "the connection was lost while receiving");
}

void SocketStream::expect(std::uint64_t count) {
  // Nothing was read since this was called last, and it still holds.
  if (receivedInTurn_ == 0 && count >= static_cast<std::uint64_t>(leastToTell_)) return;
  const bool isFast = receivedInTurn_ >= fastTurnBytes && count >= fastTurnBytes && !hungUp_;
  receivedInTurn_ = 0;
  // Where tests move the time by hand, the rest of a body must not depend on it.
  if (!isFast || ManualNetworkClock::isInstalled()) {
    loop_.disarm(*this);
    return tellOfBytes(1);
  }
  loop_.arm(*this, loop_.now() + gatheringLimit);
  // Linux enlarges the receive buffer to twice what is asked for here. It would do so by itself, but slowly where the
  // peer always has to wait; and what is set by SO_RCVBUF stays as it is (tcp(7)).
  if (count >= largeWindow && !std::exchange(hasLargeBuffer_, true)) tellOfBytes(largeWindow);
  tellOfBytes(static_cast<int>(std::min<std::uint64_t>(count, gatheredBytes)));
}

/// They did not come as fast as before.
void SocketStream::timerFired() {
  tellOfBytes(1);
  if (owner()) owner()->streamReadable();
}

/// Sockets of other kinds tell of each byte nevertheless.
void SocketStream::tellOfBytes(int count) {
  if (std::exchange(leastToTell_, count) == count) return;
  ::setsockopt(socket_.number(), SOL_SOCKET, SO_RCVLOWAT, &count, sizeof count);
}

IOResult SocketStream::write(std::span<const Bytes> pieces) {
  std::array<iovec, mostPieces> parts;
  std::size_t used = 0;
  for (const Bytes piece : pieces) {
    if (piece.empty()) continue;
    if (used == parts.size()) break;
    // POSIX has no type for pieces that are only read.
    parts[used++] = {const_cast<std::byte*>(piece.data()), piece.size()};
  }
  if (used == 0) return {IOStatus::done};
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = used;
  return afterSending(uninterrupted([&] { return ::sendmsg(socket_.number(), &message, MSG_NOSIGNAL); }));
}

IOResult SocketStream::sendFile(int file, off_t offset, std::size_t count) {
  if (count == 0) return {IOStatus::done};
  const std::size_t most = std::min(count, mostFileBytes);
  ssize_t sent = 0;
  {
    const detail::RaisedSignalGuard guard(SIGPIPE);  // it knows no MSG_NOSIGNAL
    sent = uninterrupted([&] { return ::sendfile(socket_.number(), file, &offset, most); });
  }
  // Some files cannot be sent from within the kernel, and an error may be the file's or the connection's: reading and
  // writing tell.
  if (sent < 0 && !wouldBlock(errno)) return copyFile(file, offset, count);
  if (sent == 0) return {IOStatus::done};
  return afterSending(sent);
}

IOResult SocketStream::copyFile(int file, off_t offset, std::size_t count) {
  std::array<std::byte, 16 * 1024> room;
  const std::size_t most = std::min(count, room.size());
  const ssize_t got = uninterrupted([&] { return ::pread(file, room.data(), most, offset); });
  if (got < 0) {
    failure_ = Failure{FailureCause::requestBody, "the file could not be read", errno};
    return {IOStatus::failed};
  }
  if (got == 0) return {IOStatus::done};
  const Bytes piece(room.data(), static_cast<std::size_t>(got));
  return write({&piece, 1});
}

IOResult SocketStream::afterSending(ssize_t count) {
  if (count >= 0) return {IOStatus::done, static_cast<std::size_t>(count)};
  if (wouldBlock(errno)) {
    waitsForWriting_ = true;
    return {};
  }
  return failed(errno, "the connection was lost while sending");
}

/// A broken pipe alone does not make the end of the stream doubtful: the system says so when the peer had ended its
/// direction properly before it refused ours.
IOResult SocketStream::failed(int systemError, const char* message) {
  if (systemError != EPIPE) isBroken_ = true;
  failure_ = Failure{FailureCause::connectionLost,
                     std::string(message) + ": " + std::generic_category().message(systemError), systemError};
  return {IOStatus::failed};
}

void SocketStream::shutDown() { ::shutdown(socket_.number(), SHUT_WR); }

}  // namespace platform::networking
