#include "CorvaneTesting/Internal/Listener.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "CorvaneTesting/Internal/ListeningSocket.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"

namespace corvane::testkit::detail {

namespace {

constexpr int longestBacklog = 4096;
/// How often another free port is tried when the first address has it free and a later one has not.
constexpr int portAttempts = 20;

std::vector<Descriptor> bindAll(const std::vector<std::string>& addresses, std::uint16_t port) {
  std::vector<Descriptor> sockets;
  sockets.reserve(addresses.size());
  for (const std::string& address : addresses) {
    sockets.push_back(boundSocket(address, sockets.empty() ? port : portOf(sockets.front())));
  }
  return sockets;
}

std::vector<Descriptor> bindSomewhere(const std::vector<std::string>& addresses, std::uint16_t port) {
  if (addresses.empty()) throw std::invalid_argument("a server needs an address to listen on");
  for (int attempt = 1;; ++attempt) {
    try {
      return bindAll(addresses, port);
    } catch (const std::system_error& error) {
      if (port != 0 || error.code() != std::errc::address_in_use || attempt == portAttempts) throw;
    }
  }
}

}  // namespace

Listener::Listener(const std::vector<std::string>& addresses, std::uint16_t port, ServerContext& context)
    : context_(context), sockets_(bindSomewhere(addresses, port)) {
  port_ = portOf(sockets_.front());
  for (const Descriptor& socket : sockets_) startListening(socket, longestBacklog);
  const platform::detail::SignalShield shield;  // also for the threads of the connections, which inherit it
  thread_ = std::thread([this] { accept(); });
}

Listener::~Listener() {
  stopAccepting();
  const platform::detail::MutexLock lock(mutex_);
  connections_.clear();
}

void Listener::stopAccepting() {
  stopAccepting_.raise();
  if (thread_.joinable()) thread_.join();
  sockets_.clear();
}

void Listener::forEachConnection(const std::function<void(Connection&)>& visit) {
  const platform::detail::MutexLock lock(mutex_);
  for (const auto& connection : connections_) visit(*connection);
}

void Listener::accept() {
  std::vector<pollfd> watched = {{stopAccepting_.descriptor(), POLLIN, 0}};
  for (const Descriptor& socket : sockets_) watched.push_back({socket.value(), POLLIN, 0});
  while (!stopAccepting_.isRaised()) {
    if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) {
      context_.recorder.failed(std::string("the server cannot wait for connections: ") + std::strerror(errno));
      return;
    }
    for (std::size_t index = 1; index < watched.size(); ++index) {
      if (watched[index].revents != 0) acceptOne(watched[index].fd);
    }
    forgetFinished();
  }
}

void Listener::acceptOne(int listening) {
  Descriptor socket(::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (socket.isOpen()) {
    // Listed before anyone can hear of it.
    const platform::detail::MutexLock lock(mutex_);
    connections_.push_back(std::make_unique<Connection>(std::move(socket), context_));
    return;
  }
  const bool isOutOfDescriptors = errno == EMFILE || errno == ENFILE;
  if (!isOutOfDescriptors) return;
  context_.recorder.failed("the server has no file descriptor left for another connection");
  // Room comes when a connection ends; asking at once again would only burn the processor.
  pollfd stop = {stopAccepting_.descriptor(), POLLIN, 0};
  ::poll(&stop, 1, 50);
}

void Listener::forgetFinished() {
  const platform::detail::MutexLock lock(mutex_);
  connections_.remove_if([](const auto& connection) { return connection->isFinished(); });
}

}  // namespace corvane::testkit::detail
