#include "TestSupport/ScriptedProxy.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "CorvaneTesting/Internal/ListeningSocket.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"

namespace corvane::testkit {

namespace {

constexpr auto longestWait = std::chrono::seconds(10);

bool sendAll(const detail::Descriptor& socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket.value(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// Empty at the end of the stream, and where less came.
std::string receive(const detail::Descriptor& socket, std::size_t count) {
  std::string bytes(count, '\0');
  const ssize_t got = ::recv(socket.value(), bytes.data(), count, MSG_WAITALL);
  return got == static_cast<ssize_t>(count) ? bytes : std::string();
}

std::string receiveHead(const detail::Descriptor& socket) {
  std::string head;
  while (!head.ends_with("\r\n\r\n")) {
    const std::string byte = receive(socket, 1);
    if (byte.empty()) return {};
    head += byte;
  }
  return head;
}

unsigned byteOf(const std::string& bytes, std::size_t place) { return static_cast<unsigned char>(bytes[place]); }

/// A text of 1 to 255 bytes after its length; absent where less came.
std::optional<std::string> receiveWithLength(const detail::Descriptor& socket) {
  const std::string length = receive(socket, 1);
  if (length.empty()) return std::nullopt;
  std::string text = receive(socket, byteOf(length, 0));
  if (text.empty()) return std::nullopt;
  return text;
}

/// The name or the address that a SOCKS request asks for.
std::string receiveName(const detail::Descriptor& socket, unsigned type) {
  if (type == 3) return receiveWithLength(socket).value_or("");
  const std::string bytes = receive(socket, type == 1 ? 4 : 16);
  char text[INET6_ADDRSTRLEN] = "";
  if (!bytes.empty()) ::inet_ntop(type == 1 ? AF_INET : AF_INET6, bytes.data(), text, sizeof text);
  return text;
}

std::string base64(std::string_view bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += at + i <= bytes.size() ? digits[group >> (18 - 6 * i) & 63] : '=';
    }
  }
  return text;
}

}  // namespace

ScriptedProxy::ScriptedProxy() : ScriptedProxy(Options{}) {}

ScriptedProxy::ScriptedProxy(Options options)
    : options_(std::move(options)),
      listener_(detail::boundSocket("127.0.0.1", 0)),
      stop_(::eventfd(0, EFD_CLOEXEC)),
      port_(detail::portOf(listener_)) {
  detail::startListening(listener_, 64);
  const platform::detail::SignalShield shield;
  thread_ = std::thread([this] { accept(); });
}

ScriptedProxy::~ScriptedProxy() {
  ::eventfd_write(stop_.value(), 1);
  thread_.join();
  for (Client& client : clients_) ::shutdown(client.socket.value(), SHUT_RDWR);
  for (Client& client : clients_) client.thread.join();
}

void ScriptedProxy::leadTo(const std::string& name, std::uint16_t port) {
  const std::lock_guard lock(mutex_);
  names_[name] = port;
}

std::vector<std::string> ScriptedProxy::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

int ScriptedProxy::connectionCount() const {
  const std::lock_guard lock(mutex_);
  return connections_;
}

bool ScriptedProxy::waitForRequests(std::size_t count) const {
  return waitUntil([&] { return requests_.size() >= count; });
}

bool ScriptedProxy::waitUntilAllClosed() const {
  return waitUntil([&] { return open_ == 0; });
}

bool ScriptedProxy::waitUntil(const std::function<bool()>& predicate) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, longestWait, predicate);
}

void ScriptedProxy::note(std::string request) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(std::move(request));
  changed_.notify_all();
}

void ScriptedProxy::accept() {
  while (true) {
    pollfd waits[] = {{listener_.value(), POLLIN, 0}, {stop_.value(), POLLIN, 0}};
    if (::poll(waits, 2, -1) < 0 && errno != EINTR) return;
    if (waits[1].revents != 0) return;
    detail::Descriptor socket(::accept4(listener_.value(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!socket.isOpen()) continue;
    const std::lock_guard lock(mutex_);
    ++connections_;
    ++open_;
    Client& client = clients_.emplace_back();
    client.socket = std::move(socket);
    client.thread = std::thread([this, &client] { serve(client); });
  }
}

void ScriptedProxy::serve(Client& client) {
  char first = 0;
  if (::recv(client.socket.value(), &first, 1, MSG_PEEK) == 1) {
    first == 5 ? serveSOCKS(client) : serveConnect(client);
  }
  ::shutdown(client.socket.value(), SHUT_RDWR);
  client.server.reset();
  const std::lock_guard lock(mutex_);
  --open_;
  changed_.notify_all();
}

void ScriptedProxy::serveConnect(Client& client) {
  const std::string head = receiveHead(client.socket);
  if (head.empty()) return;
  if (misbehaves()) return misbehave(client, head);
  note(head);
  const std::size_t space = head.find(' ') + 1;
  const std::string authority = head.substr(space, head.find(' ', space) - space);
  if (const std::string challenge = challengeFor(head, authority); !challenge.empty()) {
    sendAll(client.socket, "HTTP/1.1 407 Proxy Authentication Required\r\nProxy-Authenticate: " + challenge +
                               "\r\nContent-Length: 7\r\n\r\nrefused");
    return;
  }
  if (!open(client, authority.substr(0, authority.rfind(':')))) {
    sendAll(client.socket, "HTTP/1.1 502 Bad Gateway\r\nContent-Length: 4\r\n\r\nlost");
    return;
  }
  sendAll(client.socket, "HTTP/1.1 200 Connection established\r\n\r\n");
  relay(client);
}

/// Empty for a request with the right credentials.
std::string ScriptedProxy::challengeFor(const std::string& head, const std::string& authority) {
  constexpr std::string_view name = "Proxy-Authorization: ";
  const std::size_t field = head.find(name);
  std::string value;
  if (field != std::string::npos) {
    const std::size_t begin = field + name.size();
    value = head.substr(begin, head.find("\r\n", begin) - begin);
  }
  if (options_.digest) return options_.digest->accepts("CONNECT", authority, value) ? "" : options_.digest->challenge();
  const bool isRight = options_.user.empty() || value == "Basic " + base64(options_.user + ":" + options_.password);
  return isRight ? "" : "Basic realm=\"test\"";
}

void ScriptedProxy::serveSOCKS(Client& client) {
  std::string credentials;
  if (!authenticateSOCKS(client, credentials)) return;
  const std::string request = receive(client.socket, 4);
  if (request.empty()) return;
  const std::string name = receiveName(client.socket, byteOf(request, 3));
  const std::string port = receive(client.socket, 2);
  if (port.empty()) return;
  const std::string asked =
      "SOCKS " + credentials + name + ":" + std::to_string(byteOf(port, 0) << 8 | byteOf(port, 1));
  if (misbehaves()) return misbehave(client, asked);
  note(asked);
  if (!open(client, name)) {
    sendAll(client.socket, std::string_view("\5\4\0\1\0\0\0\0\0\0", 10));
    return;
  }
  // With a name, the kind of address whose length is not known beforehand.
  sendAll(client.socket, std::string_view("\5\0\0\3\5proxy\0\0", 12));
  relay(client);
}

bool ScriptedProxy::authenticateSOCKS(Client& client, std::string& credentials) {
  const std::string greeting = receive(client.socket, 2);
  if (greeting.empty()) return false;
  const std::string methods = receive(client.socket, byteOf(greeting, 1));
  if (options_.user.empty()) return sendAll(client.socket, std::string_view("\5\0", 2));
  if (methods.find('\2') == std::string::npos) {
    sendAll(client.socket, "\5\xFF");
    return false;
  }
  sendAll(client.socket, "\5\2");
  const std::string version = receive(client.socket, 1);
  if (version.empty()) return false;
  const auto user = receiveWithLength(client.socket);
  if (!user) return false;
  const auto password = receiveWithLength(client.socket);
  if (!password) return false;
  credentials = *user + ":" + *password + "@";
  const bool isRight = *user == options_.user && *password == options_.password;
  sendAll(client.socket, isRight ? std::string_view("\1\0", 2) : std::string_view("\1\1", 2));
  return isRight;
}

void ScriptedProxy::misbehave(Client& client, const std::string& request) {
  sendAll(client.socket, options_.reply);
  note(request);
  if (options_.holds) hold(client);
}

/// Until the client closes.
void ScriptedProxy::hold(Client& client) {
  char bytes[1000];
  while (::recv(client.socket.value(), bytes, sizeof bytes, 0) > 0) {
  }
}

bool ScriptedProxy::open(Client& client, const std::string& name) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  {
    const std::lock_guard lock(mutex_);
    const auto known = names_.find(name);
    if (known == names_.end()) return false;
    address.sin_port = htons(known->second);
  }
  client.server = detail::Descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return ::connect(client.server.value(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void ScriptedProxy::relay(Client& client) {
  pollfd ends[] = {{client.socket.value(), POLLIN, 0}, {client.server.value(), POLLIN, 0}};
  while (::poll(ends, 2, -1) > 0 || errno == EINTR) {
    for (int i = 0; i < 2; ++i) {
      if (ends[i].revents == 0) continue;
      char bytes[16 * 1024];
      const ssize_t count = ::recv(ends[i].fd, bytes, sizeof bytes, 0);
      const detail::Descriptor& other = i == 0 ? client.server : client.socket;
      if (count <= 0 || !sendAll(other, {bytes, static_cast<std::size_t>(count)})) return;
    }
  }
}

}  // namespace corvane::testkit
