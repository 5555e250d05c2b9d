#include "Server/ServedConnection.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <vector>

namespace bench {
namespace {

constexpr std::size_t readSize = 16 * 1024;
/// Of a head and what came with it. Requests are not sent ahead of responses, so what follows is the body of a PUT.
constexpr std::size_t inputLimit = 64 * 1024;
constexpr std::size_t fillerSize = 1024 * 1024;
constexpr std::size_t discardSize = 1024 * 1024;
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

/// Into no room plain bytes are thrown away without a copy.
std::int64_t ServedConnection::read(char* room, std::size_t count) {
  std::int64_t got = 0;
  if (tls_) {
    got = tlsOutcome(SSL_read(tls_, room, static_cast<int>(count)));
  } else {
    got = recv(socket_.number(), room, count, room ? 0 : MSG_TRUNC);
    if (got < 0 && !wouldBlock()) failed_ = true;
  }
  if (got == 0) peerIsDone_ = true;
  return got;
}

void ServedConnection::receive() {
  discardBody();
  if (uploadBytesLeft_ > 0) return;
  input_.erase(0, std::exchange(consumed_, 0));
  while (!failed_ && !peerIsDone_ && input_.size() < inputLimit) {
    const std::size_t held = input_.size();
    input_.resize(held + readSize);
    const std::int64_t count = read(input_.data() + held, readSize);
    input_.resize(held + static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    if (count < 0 || (!tls_ && count < static_cast<std::int64_t>(readSize))) return;
  }
}

void ServedConnection::discardBody() {
  static std::vector<char>& scratch = *new std::vector<char>(discardSize);
  const std::size_t arrived = std::min<std::uint64_t>(uploadBytesLeft_, input_.size() - consumed_);
  consumed_ += arrived;
  uploadBytesLeft_ -= arrived;
  while (!failed_ && !peerIsDone_ && uploadBytesLeft_ > 0) {
    const std::int64_t count =
        read(tls_ ? scratch.data() : nullptr, std::min<std::uint64_t>(uploadBytesLeft_, discardSize));
    if (count <= 0) return;
    uploadBytesLeft_ -= static_cast<std::uint64_t>(count);
  }
}

void ServedConnection::takeUpload(std::string_view head) {
  constexpr std::string_view name = "\r\nContent-Length: ";
  const std::size_t length = head.find(name);
  const char* const first = head.data() + length + name.size();
  if (length == std::string_view::npos ||
      std::from_chars(first, head.data() + head.size(), uploadBytesLeft_).ec != std::errc()) {
    failed_ = true;
    return;
  }
  if (head.find("\r\nExpect: 100-continue") != std::string_view::npos) send("HTTP/1.1 100 Continue\r\n\r\n");
  discardBody();
}

std::string_view ServedConnection::takeRequest() {
  if (uploadBytesLeft_ > 0) return {};
  if (std::exchange(isUploading_, false)) return uploadPath_;
  const std::string_view waiting = std::string_view(input_).substr(consumed_);
  const std::size_t end = waiting.find(endOfHead);
  if (end == std::string_view::npos) {
    failed_ = failed_ || waiting.size() >= inputLimit;
    return {};
  }
  consumed_ += end + endOfHead.size();
  const std::string_view head = waiting.substr(0, end);
  const std::size_t last = head.find(" HTTP/1.1\r\n");
  const bool isUpload = head.starts_with("PUT /");
  if ((!head.starts_with("GET /") && !isUpload) || last == std::string_view::npos) {
    failed_ = true;
    return {};
  }
  const std::string_view path = head.substr(4, last - 4);
  if (!isUpload) return path;
  isUploading_ = true;
  uploadPath_ = path;
  takeUpload(head);
  return failed_ ? std::string_view() : takeRequest();
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
