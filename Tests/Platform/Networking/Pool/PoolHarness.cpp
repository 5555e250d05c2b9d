#include "PoolHarness.hpp"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace platform::networking {

namespace {

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::system_category(), what); }

}  // namespace

void PeerConnection::write(std::string_view bytes) {
  if (::send(socket_.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
    fail("send");
  }
}

const std::string& PeerConnection::received() {
  std::array<char, 4096> room;
  ssize_t count = 0;
  while ((count = ::recv(socket_.number(), room.data(), room.size(), MSG_DONTWAIT)) > 0) {
    received_.append(room.data(), static_cast<std::size_t>(count));
  }
  hasEnded_ = hasEnded_ || count == 0;
  return received_;
}

bool PeerConnection::hasEnded() {
  received();
  return hasEnded_;
}

Peer::Peer() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const general = reinterpret_cast<sockaddr*>(&address);
  if (::bind(socket_.number(), general, size) != 0 || ::listen(socket_.number(), 16) != 0) fail("listen");
  if (::getsockname(socket_.number(), general, &size) != 0) fail("getsockname");
  port_ = ntohs(address.sin_port);
}

std::unique_ptr<PeerConnection> Peer::accept() {
  const int accepted = ::accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC);
  if (accepted < 0) return nullptr;
  return std::make_unique<PeerConnection>(detail::FileDescriptor(accepted));
}

BodyDisposition PooledGet::responseHead(const ResponseHeadView& head) {
  status = head.statusCode;
  return disposition;
}

bool PooledGet::responseBody(Bytes bytes) {
  body.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return true;
}

void PooledGet::exchangeEnded(std::optional<ExchangeProblem> ended) noexcept {
  ++outcomes;
  problem = std::move(ended);
  if (then) then();
}

std::unique_ptr<PeerConnection> ConnectionPoolTest::nextConnection(bool hasRequest) {
  std::unique_ptr<PeerConnection> next;
  EXPECT_TRUE(run([&] { return (next || (next = peer.accept())) && !(hasRequest && next->received().empty()); }));
  return next;
}

}  // namespace platform::networking
