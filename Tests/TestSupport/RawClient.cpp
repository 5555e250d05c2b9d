#include "TestSupport/RawClient.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace corvane::testkit {

namespace {

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

RawClient::RawClient(const TestServer& server, const std::string& address) {
  sockaddr_storage storage{};
  socklen_t length = sizeof(sockaddr_in);
  auto* v4 = reinterpret_cast<sockaddr_in*>(&storage);
  auto* v6 = reinterpret_cast<sockaddr_in6*>(&storage);
  if (::inet_pton(AF_INET, address.c_str(), &v4->sin_addr) == 1) {
    v4->sin_family = AF_INET;
    v4->sin_port = htons(server.port());
  } else {
    ::inet_pton(AF_INET6, address.c_str(), &v6->sin6_addr);
    v6->sin6_family = AF_INET6;
    v6->sin6_port = htons(server.port());
    length = sizeof(sockaddr_in6);
  }
  socket_ = detail::Descriptor(::socket(storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const timeval limit{10, 0};
  ::setsockopt(socket_.value(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  ::setsockopt(socket_.value(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  if (::connect(socket_.value(), reinterpret_cast<sockaddr*>(&storage), length) != 0) fail("connect");
}

void RawClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_.value(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) fail("send");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::string RawClient::receive() {
  if (!buffer_.empty()) return std::exchange(buffer_, {});
  char piece[64 * 1024];
  const ssize_t count = ::recv(socket_.value(), piece, sizeof piece, 0);
  if (count < 0) fail("recv");
  return std::string(piece, static_cast<std::size_t>(count));
}

std::string RawClient::receiveAll() {
  std::string all;
  for (std::string piece = receive(); !piece.empty(); piece = receive()) all += piece;
  return all;
}

std::string RawClient::receiveExactly(std::size_t count) {
  std::string all;
  while (all.size() < count) {
    const std::string piece = receive();
    if (piece.empty()) throw std::runtime_error("the stream ended after " + std::to_string(all.size()) + " bytes");
    all += piece;
  }
  buffer_ = all.substr(count);
  return all.substr(0, count);
}

std::string RawClient::receiveUntil(std::string_view text) {
  std::string all;
  std::size_t end = std::string::npos;
  while ((end = all.find(text)) == std::string::npos) {
    const std::string piece = receive();
    if (piece.empty()) throw std::runtime_error("the stream ended after: " + all);
    all += piece;
  }
  buffer_ = all.substr(end + text.size());
  return all.substr(0, end + text.size());
}

std::string RawClient::exchange(std::string_view request) {
  send(request);
  return receiveAll();
}

void RawClient::closeSending() { ::shutdown(socket_.value(), SHUT_WR); }

std::string closingGet(std::string_view target) {
  return "GET " + std::string(target) + " HTTP/1.1\r\nHost: test\r\nConnection: close\r\n\r\n";
}

std::string get(std::string_view target) { return "GET " + std::string(target) + " HTTP/1.1\r\nHost: test\r\n\r\n"; }

}  // namespace corvane::testkit
