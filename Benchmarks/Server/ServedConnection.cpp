#include "Server/ServedConnection.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <vector>

namespace bench {
namespace {

constexpr std::size_t readSize = 16 * 1024;
constexpr std::size_t fillerSize = 1024 * 1024;
constexpr std::string_view endOfHead = "\r\n\r\n";

bool wouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

ServedConnection::ServedConnection(std::uint64_t number, Descriptor socket, SSL_CTX* tls)
    : number_(number), socket_(std::move(socket)) {
  if (!tls) return;
  tls_ = SSL_new(tls);
  SSL_set_fd(tls_, socket_.number());
  SSL_set_accept_state(tls_);
}

ServedConnection::~ServedConnection() {
  if (!tls_) return;
  if (!failed_) SSL_shutdown(tls_);
  SSL_free(tls_);
}

/// As `recv` and `send` tell it: -1 for "later".
std::int64_t ServedConnection::tlsOutcome(int result) {
  if (result > 0) return result;
  const int error = SSL_get_error(tls_, result);
  if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) return -1;
  if (error != SSL_ERROR_ZERO_RETURN) failed_ = true;
  return 0;
}

void ServedConnection::receive() {
  input_.erase(0, std::exchange(consumed_, 0));
  while (!failed_ && !peerIsDone_) {
    const std::size_t held = input_.size();
    input_.resize(held + readSize);
    std::int64_t count = 0;
    if (tls_) {
      count = tlsOutcome(SSL_read(tls_, input_.data() + held, readSize));
    } else {
      count = recv(socket_.number(), input_.data() + held, readSize, 0);
      if (count < 0 && !wouldBlock()) failed_ = true;
    }
    input_.resize(held + static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    if (count == 0) peerIsDone_ = true;
    if (count < 0 || (!tls_ && count < static_cast<std::int64_t>(readSize))) return;
  }
}

std::string_view ServedConnection::takeRequest() {
  const std::string_view waiting = std::string_view(input_).substr(consumed_);
  const std::size_t end = waiting.find(endOfHead);
  if (end == std::string_view::npos) return {};
  consumed_ += end + endOfHead.size();
  const std::string_view head = waiting.substr(0, end);
  const std::size_t last = head.find(" HTTP/1.1\r\n");
  if (!head.starts_with("GET /") || last == std::string_view::npos) {
    failed_ = true;
    return {};
  }
  return head.substr(4, last - 4);
}

std::int64_t ServedConnection::write(const char* bytes, std::size_t count) {
  if (tls_) return tlsOutcome(SSL_write(tls_, bytes, static_cast<int>(count)));
  const ssize_t written = ::send(socket_.number(), bytes, count, MSG_NOSIGNAL);
  if (written < 0 && !wouldBlock()) failed_ = true;
  return written;
}

void ServedConnection::send(std::string_view bytes) {
  if (hasOutput()) {
    output_.append(bytes);
    return;
  }
  const std::int64_t written = write(bytes.data(), bytes.size());
  const auto done = static_cast<std::size_t>(std::max<std::int64_t>(written, 0));
  // OpenSSL wants a write that blocked to be repeated with the same bytes, which may have moved.
  if (done < bytes.size() && !failed_) output_.assign(bytes.substr(done));
}

void ServedConnection::flush() {
  static const std::vector<char>& zeroes = *new std::vector<char>(fillerSize);
  while (!failed_ && sent_ < output_.size()) {
    const std::int64_t written = write(output_.data() + sent_, output_.size() - sent_);
    if (written <= 0) return;
    sent_ += static_cast<std::size_t>(written);
  }
  output_.clear();
  sent_ = 0;
  while (!failed_ && filler_ > 0) {
    const std::int64_t written =
        write(zeroes.data(), static_cast<std::size_t>(std::min<std::uint64_t>(filler_, fillerSize)));
    if (written <= 0) return;
    filler_ -= static_cast<std::uint64_t>(written);
  }
}

}  // namespace bench
