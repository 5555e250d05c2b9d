#include "CorvaneTesting/Ports.hpp"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "CorvaneTesting/Internal/ListeningSocket.hpp"

namespace corvane::testkit {

namespace {

using detail::Descriptor;

/// The queue of length zero still takes one or two.
constexpr int mostFillers = 16;
/// An answered handshake on the loopback interface is done at once; this is generous.
constexpr int responseLimitMilliseconds = 100;

std::string loopbackUrl(std::uint16_t port, std::string_view target) {
  return "http://127.0.0.1:" + std::to_string(port) + std::string(target);
}

Descriptor beginConnecting(std::uint16_t port) {
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (socket.value() < 0) throw std::system_error(errno, std::generic_category(), "cannot make a socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool failed = ::connect(socket.value(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0;
  if (failed && errno != EINPROGRESS) throw std::system_error(errno, std::generic_category(), "cannot connect");
  return socket;
}

bool isConnected(const Descriptor& socket) {
  pollfd watched{socket.value(), POLLOUT, 0};
  return ::poll(&watched, 1, responseLimitMilliseconds) > 0;
}

}  // namespace

std::uint16_t unusedPort() {
  static const Descriptor& socket = *new Descriptor(detail::boundSocket("127.0.0.1", 0));
  return detail::portOf(socket);
}

std::string refusedUrl(std::string_view target) { return loopbackUrl(unusedPort(), target); }

struct SilentPort::State {
  Descriptor listening;
  std::vector<Descriptor> fillers;
};

SilentPort::SilentPort() : state_(std::make_unique<State>()) {
  state_->listening = detail::boundSocket("127.0.0.1", 0);
  detail::startListening(state_->listening, 0);
  // Once the queue of those who wait to be accepted is full, Linux drops further attempts.
  for (int index = 0; index < mostFillers; ++index) {
    state_->fillers.push_back(beginConnecting(port()));
    if (!isConnected(state_->fillers.back())) return;
  }
  throw std::runtime_error("the port still answers after " + std::to_string(mostFillers) + " connections");
}

SilentPort::~SilentPort() = default;

std::uint16_t SilentPort::port() const { return detail::portOf(state_->listening); }

std::string SilentPort::url(std::string_view target) const { return loopbackUrl(port(), target); }

}  // namespace corvane::testkit
