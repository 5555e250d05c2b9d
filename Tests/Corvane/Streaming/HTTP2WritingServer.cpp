#include "HTTP2WritingServer.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>

#include "CorvaneTesting/Internal/ListeningSocket.hpp"
#include "CorvaneTesting/MockResponse.hpp"
#include "TestSupport/HTTP2Peer.hpp"
#include "TestSupport/MemoryStream.hpp"
#include "TestSupport/TLSPeer.hpp"

namespace corvane {

namespace {

using platform::networking::Bytes;
using platform::networking::ByteStream;
using testkit::HTTP2Peer;

constexpr std::chrono::seconds limit(20);
constexpr std::uint64_t pieceBytes = std::uint64_t{256} * 1024;
constexpr std::uint32_t internalError = 2;

void put(ByteStream& stream, std::string_view bytes) {
  const Bytes piece = std::as_bytes(std::span(bytes));
  if (stream.write({&piece, 1}).count != bytes.size()) throw std::logic_error("a wire of memory takes everything");
}

}  // namespace

/// TLS and HTTP/2 between wires of memory; bytes of the socket go in and out.
class HTTP2WritingServer::Connection {
 public:
  Connection(const testkit::Certificate& certificate, std::uint64_t bodyBytes)
      : tls_(tlsWire_, certificate, testkit::TLSPeer::Options{.protocols = "\x02h2"}),
        http_(httpWire_),
        bodyBytes_(bodyBytes) {}

  void take(std::string_view bytes);
  /// What is to be sent next; empty when everything waits for the client.
  std::string next();
  Progress progress() const;

 private:
  void respond(const HTTP2Peer::Request& request);
  void respondForCache(const HTTP2Peer::Request& request);
  void fillBody();

  testkit::MemoryWire tlsWire_;
  testkit::TLSPeer tls_;
  testkit::MemoryWire httpWire_;
  std::unique_ptr<ByteStream> tlsClient_ = tlsWire_.makeStream();
  std::unique_ptr<ByteStream> httpClient_ = httpWire_.makeStream();
  HTTP2Peer http_;
  std::size_t decrypted_ = 0;
  std::size_t responded_ = 0;
  int cacheable_ = 0;
  const std::uint64_t bodyBytes_;
  std::int32_t bodyStream_ = 0;
  bool breaks_ = false;
  std::uint64_t given_ = 0;
};

void HTTP2WritingServer::Connection::take(std::string_view bytes) {
  put(*tlsClient_, bytes);
  tls_.listen();
  put(*httpClient_, std::string_view(tls_.received()).substr(decrypted_));
  decrypted_ = tls_.received().size();
  if (!http_.take()) throw std::runtime_error("the client breaks HTTP/2");
  for (; responded_ < http_.requests().size(); ++responded_) respond(http_.request(responded_));
}

void HTTP2WritingServer::Connection::respond(const HTTP2Peer::Request& request) {
  const std::string target = request.field(":path");
  const bool isCacheable = target == "/fresh" || target == "/validated";
  if (isCacheable && request.field(":method") == "GET") return respondForCache(request);
  breaks_ = breaks_ || target == "/broken";
  if (target != "/body" && target != "/broken") return http_.respond(request.id, {{":status", "200"}}, "fine");
  bodyStream_ = request.id;
  http_.begin(request.id, {{":status", "200"}});
}

void HTTP2WritingServer::Connection::respondForCache(const HTTP2Peer::Request& request) {
  if (request.field("if-none-match") == "\"1\"")
    return http_.respond(request.id, {{":status", "304"}, {"etag", "\"1\""}}, "");
  const bool isFresh = request.field(":path") == "/fresh";
  http_.respond(request.id,
                {{":status", "200"},
                 {"cache-control", isFresh ? "max-age=1000" : "no-cache"},
                 {"vary", isFresh ? "accept-language" : "accept"},
                 {"etag", isFresh ? "\"fresh\"" : "\"1\""}},
                std::to_string(++cacheable_));
}

void HTTP2WritingServer::Connection::fillBody() {
  if (bodyStream_ == 0 || given_ == bodyBytes_ || http_.waiting(bodyStream_) > 0 || progress().isReset) return;
  if (breaks_ && given_ >= bodyBytes_ / 2) {
    http_.reset(bodyStream_, internalError);
    given_ = bodyBytes_;
    return;
  }
  const std::uint64_t count = std::min(pieceBytes, bodyBytes_ - given_);
  const std::string piece = testkit::generatedBytes(static_cast<std::size_t>(count), given_);
  given_ += count;
  http_.write(bodyStream_, piece, given_ == bodyBytes_);
}

std::string HTTP2WritingServer::Connection::next() {
  if (tls_.isConnected()) {
    fillBody();
    if (const std::string frames = http_.ready(); !frames.empty()) tls_.write(frames);
  }
  return tls_.takeOutput();
}

HTTP2WritingServer::Progress HTTP2WritingServer::Connection::progress() const {
  if (bodyStream_ == 0) return {};
  const std::size_t waiting = http_.waiting(bodyStream_);
  const auto& requests = http_.requests();
  const auto request = std::find_if(requests.begin(), requests.end(),
                                    [this](const HTTP2Peer::Request& each) { return each.id == bodyStream_; });
  return {.written = given_ - waiting, .isHeldUp = waiting > 0, .isReset = request->isReset};
}

HTTP2WritingServer::HTTP2WritingServer(const testkit::CertificateAuthority& authority, std::uint64_t bodyBytes)
    : certificate_(authority.issue(testkit::CertificateRequest::localhost())),
      bodyBytes_(bodyBytes),
      listener_(testkit::detail::boundSocket("127.0.0.1", 0)),
      wakeUp_(::eventfd(0, EFD_CLOEXEC)) {
  testkit::detail::startListening(listener_, 4);
  port_ = testkit::detail::portOf(listener_);
  thread_ = std::thread([this] { run(); });
}

HTTP2WritingServer::~HTTP2WritingServer() {
  const std::uint64_t one = 1;
  static_cast<void>(::write(wakeUp_.value(), &one, sizeof one) == sizeof one);
  thread_.join();
}

std::string HTTP2WritingServer::url(std::string_view target) const {
  return "https://localhost:" + std::to_string(port_) + std::string(target);
}

std::uint64_t HTTP2WritingServer::writtenWhenHeldUp() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [this] {
    return progress_.isHeldUp || progress_.isReset || progress_.isClosed || progress_.written == bodyBytes_;
  });
  return progress_.written;
}

bool HTTP2WritingServer::hasWrittenAll() const {
  const std::lock_guard lock(mutex_);
  return progress_.written == bodyBytes_;
}

bool HTTP2WritingServer::waitUntilReset() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [this] { return progress_.isReset; });
}

void HTTP2WritingServer::tell(const Progress& progress) {
  const std::lock_guard lock(mutex_);
  progress_ = progress;
  changed_.notify_all();
}

void HTTP2WritingServer::run() {
  std::array<pollfd, 2> waits{{{listener_.value(), POLLIN, 0}, {wakeUp_.value(), POLLIN, 0}}};
  ::poll(waits.data(), waits.size(), -1);
  if ((waits[1].revents & POLLIN) != 0) return;
  const testkit::detail::Descriptor connection(::accept4(listener_.value(), nullptr, nullptr, SOCK_CLOEXEC));
  if (connection.isOpen()) serve(connection.value());
  const std::lock_guard lock(mutex_);
  progress_.isClosed = true;
  changed_.notify_all();
}

/// Until the client closes, or the test ends. A client of HTTP/2 reads whatever comes, so writing may wait for it.
void HTTP2WritingServer::serve(int connection) {
  Connection peer(certificate_, bodyBytes_);
  std::array<char, 16 * 1024> room;
  for (;;) {
    for (std::string out = peer.next(); !out.empty(); out = peer.next()) {
      if (::send(connection, out.data(), out.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(out.size())) return;
    }
    tell(peer.progress());
    std::array<pollfd, 2> waits{{{connection, POLLIN, 0}, {wakeUp_.value(), POLLIN, 0}}};
    ::poll(waits.data(), waits.size(), -1);
    if ((waits[1].revents & POLLIN) != 0) return;
    const auto count = ::recv(connection, room.data(), room.size(), 0);
    if (count <= 0) return;
    peer.take({room.data(), static_cast<std::size_t>(count)});
  }
}

}  // namespace corvane
