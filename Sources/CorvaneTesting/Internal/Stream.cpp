#include "CorvaneTesting/Internal/Stream.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvane::testkit::detail {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

bool wouldBlock(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

/// The remaining time for `poll`, rounded up so that a wait is never too short; -1 without a limit.
int remaining(const std::optional<Clock::time_point>& deadline) {
  if (!deadline) return -1;
  return static_cast<int>(
      std::max<milliseconds::rep>(0, std::chrono::ceil<milliseconds>(*deadline - Clock::now()).count()));
}

std::optional<Clock::time_point> deadlineAfter(std::optional<milliseconds> limit) {
  if (!limit) return std::nullopt;
  return Clock::now() + *limit;
}

}  // namespace

Stream::Stream(Descriptor socket, const Event& stop) : socket_(std::move(socket)), stop_(stop) {
  const int on = 1;
  ::setsockopt(socket_.value(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

std::size_t Stream::read(char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t count = ::recv(socket(), buffer, size, 0);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (!wouldBlock(errno)) throw ConnectionOver();
    wait(POLLIN, std::nullopt);
  }
}

void Stream::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t count = Stream::writeWithoutWaiting(bytes);
    if (count == 0) wait(POLLOUT, std::nullopt);
    bytes.remove_prefix(count);
  }
}

std::size_t Stream::writeWithoutWaiting(std::string_view bytes) {
  const ssize_t count = ::send(socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (count >= 0) return static_cast<std::size_t>(count);
  if (!wouldBlock(errno)) throw ConnectionOver();
  return 0;
}

Stream::Woke Stream::wait(short events, std::optional<milliseconds> limit, int latch) const {
  const auto deadline = deadlineAfter(limit);
  pollfd watched[] = {{socket(), events, 0}, {stop_.descriptor(), POLLIN, 0}, {latch, POLLIN, 0}};
  for (;;) {
    const int timeout = remaining(deadline);
    const int count = ::poll(watched, 3, timeout);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 || watched[1].revents != 0) throw ConnectionOver();
    if (count == 0) {
      if (timeout == 0) return Woke::timedOut;
      continue;
    }
    if (watched[2].revents != 0) return Woke::latch;
    if ((watched[0].revents & POLLIN) != 0) return Woke::readable;
    if ((watched[0].revents & POLLOUT) != 0) return Woke::writable;
    return Woke::left;
  }
}

Stream::Woke Stream::waitForBytes(std::optional<milliseconds> limit) { return wait(POLLIN | POLLRDHUP, limit); }

void Stream::pause(std::optional<milliseconds> duration, int latch) {
  if (wait(POLLRDHUP, duration, latch) == Woke::left) throw ConnectionOver();
}

void Stream::stall() {
  for (;;) pause(std::nullopt);
}

void Stream::closeSending() { ::shutdown(socket(), SHUT_WR); }

void Stream::drain(std::optional<milliseconds> limit) {
  const auto deadline = deadlineAfter(limit);
  char buffer[16 * 1024];
  for (;;) {
    const ssize_t count = ::recv(socket(), buffer, sizeof buffer, 0);
    if (count > 0) continue;
    if (count == 0 || !wouldBlock(errno)) return;
    if (limit && limit->count() == 0) return;
    const auto left = deadline ? std::optional(milliseconds(remaining(deadline))) : std::nullopt;
    if (wait(POLLIN | POLLRDHUP, left) == Woke::timedOut) return;
  }
}

void Stream::resetAtClose() {
  const linger abort{1, 0};
  ::setsockopt(socket(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
}

void Stream::endReading() { ::shutdown(socket(), SHUT_RD); }

std::string Stream::localAddress() const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (::getsockname(socket(), reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
  char text[INET6_ADDRSTRLEN] = {};
  if (address.ss_family == AF_INET6) {
    ::inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(&address)->sin6_addr, text, sizeof text);
  } else {
    ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(&address)->sin_addr, text, sizeof text);
  }
  return text;
}

}  // namespace corvane::testkit::detail
