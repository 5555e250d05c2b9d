#include "Server/PlainServer.hpp"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

#include <array>
#include <ctime>
#include <stdexcept>

namespace bench {
namespace {

enum Source : std::uint64_t { plainListener, secureListener, resumingListener, timer, stop };

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t delayNanoseconds = 100'000'000;
constexpr std::uint64_t largeBodyBytes = 256ULL * 1024 * 1024;

std::string headWith(std::uint64_t contentLength, const std::string& furtherFields = {},
                     const std::string& cacheControl = "no-store") {
  return "HTTP/1.1 200 OK\r\nServer: bench\r\nDate: Mon, 02 Nov 2026 08:00:00 GMT\r\n"
         "Content-Type: application/json\r\nContent-Length: " +
         std::to_string(contentLength) + "\r\nCache-Control: " + cacheControl + "\r\nETag: \"67e1-63f7\"\r\n" +
         furtherFields + "\r\n";
}

std::string smallResponse(const std::string& furtherFields = {}, const std::string& cacheControl = "no-store") {
  const std::string opening = "{\"login\":\"ada\",\"text\":\"";
  const std::string closing = "\"}";
  return headWith(100, furtherFields, cacheControl) + opening +
         std::string(100 - opening.size() - closing.size(), 'x') + closing;
}

std::int64_t nowNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

SSL_CTX* makeTLS(const std::string& certificatePath, const std::string& keyPath, std::size_t ticketsForEach) {
  SSL_CTX* context = SSL_CTX_new(TLS_server_method());
  if (!context || SSL_CTX_use_certificate_chain_file(context, certificatePath.c_str()) != 1 ||
      SSL_CTX_use_PrivateKey_file(context, keyPath.c_str(), SSL_FILETYPE_PEM) != 1) {
    throw std::runtime_error("The server cannot use the certificate " + certificatePath);
  }
  SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
  SSL_CTX_set_num_tickets(context, ticketsForEach);
  SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  return context;
}

void watch(const Descriptor& epoll, int descriptor, std::uint32_t events, std::uint64_t source) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = source;
  checked(epoll_ctl(epoll.number(), EPOLL_CTL_ADD, descriptor, &event), "epoll_ctl");
}

}  // namespace

PlainServer::PlainServer(const std::string& certificatePath, const std::string& keyPath)
    : tls_(makeTLS(certificatePath, keyPath, 0)),
      resumingTLS_(makeTLS(certificatePath, keyPath, 1)),
      plainListener_(listenOnLoopback()),
      secureListener_(listenOnLoopback()),
      resumingListener_(listenOnLoopback()),
      epoll_(checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      timer_(checked(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create")),
      plainPort_(portOf(plainListener_)),
      securePort_(portOf(secureListener_)),
      resumingPort_(portOf(resumingListener_)) {
  watch(epoll_, plainListener_.number(), EPOLLIN, Source::plainListener);
  watch(epoll_, secureListener_.number(), EPOLLIN, Source::secureListener);
  watch(epoll_, resumingListener_.number(), EPOLLIN, Source::resumingListener);
  watch(epoll_, timer_.number(), EPOLLIN, Source::timer);
}

PlainServer::~PlainServer() {
  connections_.clear();
  SSL_CTX_free(tls_);
  SSL_CTX_free(resumingTLS_);
}

void PlainServer::run(int stopDescriptor) {
  watch(epoll_, stopDescriptor, EPOLLIN, Source::stop);
  std::array<epoll_event, 256> events;
  for (;;) {
    const int count = epoll_wait(epoll_.number(), events.data(), static_cast<int>(events.size()), -1);
    if (count < 0 && errno != EINTR) checked(count, "epoll_wait");
    for (int index = 0; index < count; ++index) {
      const std::uint64_t source = events[static_cast<std::size_t>(index)].data.u64;
      switch (source) {
        case Source::stop:
          return;
        case Source::plainListener:
          accept(plainListener_, nullptr);
          break;
        case Source::secureListener:
          accept(secureListener_, tls_);
          break;
        case Source::resumingListener:
          accept(resumingListener_, resumingTLS_);
          break;
        case Source::timer:
          respondDelayed();
          break;
        default:
          if (const auto found = connections_.find(source); found != connections_.end()) serve(*found->second);
      }
    }
  }
}

void PlainServer::accept(const Descriptor& listener, SSL_CTX* tls) {
  for (;;) {
    Descriptor socket(accept4(listener.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket.number() < 0) return;
    const int on = 1;
    setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const std::uint64_t number = nextConnection_++;
    // Edge-triggered: one registration for the life of the connection.
    watch(epoll_, socket.number(), EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET, number);
    connections_.emplace(number, std::make_unique<ServedConnection>(number, std::move(socket), tls));
  }
}

void PlainServer::serve(ServedConnection& connection) {
  connection.flush();
  connection.receive();
  while (!connection.isBusy()) {
    const std::string_view path = connection.takeRequest();
    if (path.empty()) break;
    respond(connection, path);
  }
  if (connection.isOver()) connections_.erase(connection.number());
}

void PlainServer::respond(ServedConnection& connection, std::string_view path) {
  static const std::string& small = *new std::string(smallResponse());
  static const std::string& last = *new std::string(smallResponse("Connection: close\r\n"));
  static const std::string& fresh = *new std::string(smallResponse({}, "max-age=1000000000"));
  static const std::string& large = *new std::string(headWith(largeBodyBytes));
  static const std::string& missing = *new std::string("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
  if (path == "/small") {
    connection.send(small);
  } else if (path == "/fresh") {
    connection.send(fresh);
  } else if (path == "/delay100") {
    connection.setWaiting(true);
    delayed_.push_back({nowNanoseconds() + delayNanoseconds, connection.number()});
    if (delayed_.size() == 1) setTimer();
  } else if (path == "/close") {
    connection.send(last);
    connection.closeWhenSent();
  } else if (path == "/large") {
    connection.send(large);
    connection.sendFiller(largeBodyBytes);
    connection.flush();
  } else {
    connection.send(missing);
  }
}

void PlainServer::respondDelayed() {
  std::uint64_t expirations = 0;
  if (read(timer_.number(), &expirations, sizeof expirations) < 0) return;
  const std::int64_t now = nowNanoseconds();
  while (!delayed_.empty() && delayed_.front().deadlineNanoseconds <= now) {
    const auto found = connections_.find(delayed_.front().connection);
    delayed_.pop_front();
    if (found == connections_.end()) continue;
    found->second->setWaiting(false);
    respond(*found->second, "/small");
    serve(*found->second);
  }
  if (!delayed_.empty()) setTimer();
}

void PlainServer::setTimer() {
  const std::int64_t deadline = delayed_.front().deadlineNanoseconds;
  itimerspec when{};
  when.it_value.tv_sec = deadline / nanosecondsPerSecond;
  when.it_value.tv_nsec = deadline % nanosecondsPerSecond;
  checked(timerfd_settime(timer_.number(), TFD_TIMER_ABSTIME, &when, nullptr), "timerfd_settime");
}

}  // namespace bench
