#include "WritingServer.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <system_error>

#include "CorvaneTesting/MockResponse.hpp"

namespace corvane {

namespace {

constexpr std::chrono::seconds limit(20);

int checked(int result) {
  if (result < 0) throw std::system_error(errno, std::system_category());
  return result;
}

}  // namespace

WritingServer::WritingServer(std::uint64_t bodyBytes) : bodyBytes_(bodyBytes) {
  listener_ = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  wakeUp_ = checked(::eventfd(0, EFD_CLOEXEC));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  checked(::bind(listener_, reinterpret_cast<sockaddr*>(&address), length));
  checked(::listen(listener_, 1));
  checked(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length));
  port_ = ::ntohs(address.sin_port);
  thread_ = std::thread([this] { run(); });
}

WritingServer::~WritingServer() {
  const std::uint64_t one = 1;
  static_cast<void>(::write(wakeUp_, &one, sizeof one) == sizeof one);
  thread_.join();
  ::close(listener_);
  ::close(wakeUp_);
}

std::string WritingServer::url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

std::uint64_t WritingServer::writtenWhenHeldUp() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [this] { return isHeldUp_ || isClosed_ || written_ == bodyBytes_; });
  return written_;
}

bool WritingServer::hasWrittenAll() const {
  const std::lock_guard lock(mutex_);
  return written_ == bodyBytes_;
}

bool WritingServer::waitUntilClosed() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [this] { return isClosed_; });
}

void WritingServer::set(std::uint64_t written, bool isHeldUp) {
  const std::lock_guard lock(mutex_);
  written_ = written;
  isHeldUp_ = isHeldUp;
  changed_.notify_all();
}

void WritingServer::run() {
  pollfd waits[] = {{listener_, POLLIN, 0}, {wakeUp_, POLLIN, 0}};
  ::poll(waits, 2, -1);
  if ((waits[1].revents & POLLIN) != 0) return;
  const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (connection < 0) return;
  writeBody(connection);
  ::close(connection);
  const std::lock_guard lock(mutex_);
  isClosed_ = true;
  changed_.notify_all();
}

/// Until the client closes, or the test ends. What it is asked for does not matter.
void WritingServer::writeBody(int connection) {
  std::string out = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(bodyBytes_) + "\r\n\r\n";
  const std::string pattern = testkit::generatedBytes(testkit::generatedPeriod * 256);
  const std::uint64_t headBytes = out.size();
  std::uint64_t sent = 0;
  while (sent < headBytes + bodyBytes_) {
    if (sent >= headBytes) out = pattern;
    const std::uint64_t offset = sent < headBytes ? sent : (sent - headBytes) % pattern.size();
    const auto count = static_cast<std::size_t>(
        std::min<std::uint64_t>(out.size() - offset, sent < headBytes ? out.size() : headBytes + bodyBytes_ - sent));
    const auto written = ::send(connection, out.data() + offset, count, MSG_NOSIGNAL);
    if (written >= 0) {
      sent += static_cast<std::uint64_t>(written);
      set(sent > headBytes ? sent - headBytes : 0, false);
      continue;
    }
    if (errno != EAGAIN) return;
    set(sent > headBytes ? sent - headBytes : 0, true);
    pollfd waits[] = {{connection, POLLOUT, 0}, {wakeUp_, POLLIN, 0}};
    ::poll(waits, 2, -1);
    if ((waits[1].revents & POLLIN) != 0) return;
  }
  pollfd waits[] = {{connection, POLLRDHUP, 0}, {wakeUp_, POLLIN, 0}};
  ::poll(waits, 2, -1);
}

}  // namespace corvane
