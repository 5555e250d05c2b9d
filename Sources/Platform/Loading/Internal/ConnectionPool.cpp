#include "Platform/Loading/Internal/ConnectionPool.hpp"

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

/// Handles kept for the next exchanges; each holds some kilobytes.
constexpr std::size_t spareLimit = 64;

/// Idle connections a pool keeps: a quarter of the descriptors, so that the application has room.
long idleConnectionLimit() {
  rlimit descriptors{};
  if (::getrlimit(RLIMIT_NOFILE, &descriptors) != 0) return 64;
  return static_cast<long>(std::clamp<rlim_t>(descriptors.rlim_cur / 4, 8, 1024));
}

/// Scheme, host and port of the URL as it stands: what comes before the path.
std::string_view hostKeyOf(const URL& url) {
  const std::string_view text = url.absoluteString();
  const std::size_t authority = text.find("//");
  const std::size_t end = authority == std::string::npos ? authority : text.find_first_of("/?#", authority + 2);
  return text.substr(0, end);
}

/// A connection's two ports, as a key.
std::uint32_t portsKey(int localPort, int remotePort) {
  return (static_cast<std::uint32_t>(localPort) << 16) | (static_cast<std::uint32_t>(remotePort) & 0xffff);
}

int portOf(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
  if (address.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  return 0;
}

}  // namespace

ConnectionPool::ConnectionPool(NetworkLoop& loop, const URLSessionConfiguration& configuration, Challenge challenge)
    : loop_(loop),
      configuration_(configuration),
      challenge_(std::move(challenge)),
      multi_(curl_multi_init()),
      timerDue_(never) {
  if (!multi_) throw std::bad_alloc();
  curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, &ConnectionPool::socketChanged);
  curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, &ConnectionPool::timerChanged);
  curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
  curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, idleConnectionLimit());
  if (configuration_.httpShouldSetCookies) {
    share_ = curl_share_init();
    if (!share_) throw std::bad_alloc();
    // No lock functions: only the owner of the loop touches it.
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
  }
  loop_.add(*this);
}

ConnectionPool::~ConnectionPool() {
  loop_.remove(*this);
  active_.clear();
  spare_.clear();
  curl_multi_cleanup(multi_);
  if (share_) curl_share_cleanup(share_);
}

void ConnectionPool::submit(ExchangeOwner& owner) {
  admission_.enqueue(hostKeyOf(owner.requestToSend().url), owner,
                     static_cast<std::size_t>(std::max(configuration_.httpMaximumConnectionsPerHost, 0)));
  admit();
}

void ConnectionPool::admit() {
  while (AdmissionEntry* admitted = admission_.next()) start(static_cast<ExchangeOwner&>(*admitted));
}

void ConnectionPool::start(ExchangeOwner& owner) {
  std::unique_ptr<Exchange> made = takeExchange();
  Exchange& exchange = *made;
  exchange.slot = active_.size();
  active_.push_back(std::move(made));
  owner.exchange = &exchange;
  std::optional<Error> refusal = exchange.prepare(owner);
  if (!refusal && curl_multi_add_handle(multi_, exchange.handle()) != CURLM_OK) {
    refusal =
        transportError(URLErrorCode::unknown, "the transport cannot take the request", exchange.request().url, false);
  }
  if (refusal) {
    // Told later, so that the owner is never called back from inside its own submission.
    loop_.post([this, owner = &owner, error = *refusal] {
      if (owner->exchange) end(*owner->exchange, owner->exchange->abandon(error));
    });
    return;
  }
  deadlines_.arm(exchange, loop_.now() + exchange.timeout());
}

std::unique_ptr<Exchange> ConnectionPool::takeExchange() {
  if (spare_.empty()) return std::make_unique<Exchange>(*this);
  std::unique_ptr<Exchange> exchange = std::move(spare_.back());
  spare_.pop_back();
  return exchange;
}

void ConnectionPool::withdraw(ExchangeOwner& owner) {
  if (owner.exchange) {
    detach(*owner.exchange);
  } else {
    admission_.cancel(owner);
  }
  admit();
}

void ConnectionPool::tellLater(ProgressMeter& meter) {
  if (!meter.isArmed()) meters_.arm(meter, meter.due());
}

/// libcurl closes what is still connecting without a word.
void ConnectionPool::leaveConnecting(Exchange& exchange) {
  for (const int descriptor : exchange.opened()) {
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    const bool isConnected = ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
    if (!isConnected && socketAt(descriptor).exchange == &exchange) forget(descriptor);
  }
}

/// Takes the exchange out of libcurl and of the table of active ones.
void ConnectionPool::detach(Exchange& exchange) {
  leaveConnecting(exchange);
  curl_multi_remove_handle(multi_, exchange.handle());
  if (exchange.socket >= 0) socketAt(exchange.socket).exchange = nullptr;
  exchange.owner().exchange = nullptr;
  admission_.finished(exchange.owner());
  deadlines_.disarm(exchange);
  std::erase(held_, &exchange);
  std::erase(unwatched_, &exchange);
  const bool isReusable = exchange.isReusable();
  exchange.recycle();

  const std::size_t slot = exchange.slot;
  std::unique_ptr<Exchange> taken = std::move(active_[slot]);
  if (slot + 1 != active_.size()) {
    active_[slot] = std::move(active_.back());
    active_[slot]->slot = slot;
  }
  active_.pop_back();
  if (isReusable && spare_.size() < spareLimit) spare_.push_back(std::move(taken));
}

void ConnectionPool::end(Exchange& exchange, ExchangeOutcome outcome) {
  ExchangeOwner& owner = exchange.owner();
  detach(exchange);
  owner.exchangeEnded(std::move(outcome));
}

void ConnectionPool::collectFinished() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode result = message->data.result;
    char* self = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &self);
    auto& exchange = *reinterpret_cast<Exchange*>(self);
    if (exchange.mustRestart(result)) {
      // Each turn of this closes one bad connection, so it ends.
      exchange.prepareRestart();
      curl_multi_remove_handle(multi_, exchange.handle());
      curl_multi_add_handle(multi_, exchange.handle());
      continue;
    }
    end(exchange, exchange.finish(result));
  }
  if (!held_.empty()) settleHeld();
  if (!unwatched_.empty()) endUnwatched();
}

void ConnectionPool::endUnwatched() {
  while (!unwatched_.empty()) {
    Exchange& exchange = *unwatched_.back();
    end(exchange, exchange.finish(CURLE_COULDNT_CONNECT));
  }
}

void ConnectionPool::act(curl_socket_t descriptor, int events) {
  int running = 0;
  curl_multi_socket_action(multi_, descriptor, events, &running);
  collectFinished();
  admit();
}

void ConnectionPool::decide(const std::shared_ptr<TrustGate>& gate, std::optional<Error> rejection) {
  if (rejection) {
    gate->reject(std::move(*rejection));
  } else {
    gate->accept();
  }
  std::vector<ExchangeOwner*> concerned;
  for (const auto& exchange : active_) {
    if (exchange->gate() == gate) concerned.push_back(&exchange->owner());
  }
  for (ExchangeOwner* owner : concerned) {
    if (!owner->exchange || owner->exchange->gate() != gate) continue;
    Exchange& exchange = *owner->exchange;
    touchWhoWaitsWith(exchange);
    if (gate->state() == TrustGate::State::rejected) {
      end(exchange, exchange.abandon(*gate->reason()));
      continue;
    }
    exchange.touch(loop_.now());
    const int descriptor = exchange.socket;
    if (descriptor < 0) continue;
    apply(descriptor, socketAt(descriptor));
    act(descriptor, CURL_CSELECT_IN | CURL_CSELECT_OUT);
  }
}

ConnectionPool::Socket& ConnectionPool::socketAt(int descriptor) {
  const auto index = static_cast<std::size_t>(descriptor);
  if (sockets_.size() <= index) sockets_.resize(index + 32);
  return sockets_[index];
}

int ConnectionPool::socketChanged(CURL* handle, curl_socket_t descriptor, int what, void* self, void*) {
  auto& pool = *static_cast<ConnectionPool*>(self);
  Socket& socket = pool.socketAt(descriptor);
  char* found = nullptr;
  curl_easy_getinfo(handle, CURLINFO_PRIVATE, &found);
  auto* exchange = reinterpret_cast<Exchange*>(found);
  socket.isOpen = true;
  socket.wanted = 0;
  if (what & CURL_POLL_IN) socket.wanted |= EPOLLIN;
  if (what & CURL_POLL_OUT) socket.wanted |= EPOLLOUT;
  if (what == CURL_POLL_REMOVE) {
    if (exchange && exchange->wasSent()) exchange->keepUnread(descriptor);
    if (exchange && exchange->socket == descriptor) exchange->socket = -1;
    // It may be chosen again from here on, and is then known by its ports.
    if (socket.connection != 0 && socket.ports == 0) pool.learnPorts(descriptor, socket);
    if (socket.ports == 0) {
      // libcurl's own, by which its resolver calls, or a connection that came to nothing: both are closed without a
      // word, and the number is soon another's.
      pool.forget(descriptor);
      return 0;
    }
    socket.exchange = nullptr;
  } else if (exchange) {
    socket.exchange = exchange;
    exchange->socket = descriptor;
  }
  pool.apply(descriptor, socket);
  return 0;
}

void ConnectionPool::apply(int descriptor, Socket& socket) {
  std::uint32_t events = socket.wanted;
  if (socket.exchange && socket.exchange->isHeld()) events = 0;
  if (socket.wanted == 0) {
    // Idle: what is registered stays, so that a close shows; only readiness to write must not be reported.
    if ((socket.registered & EPOLLOUT) == 0) return;
    events = EPOLLIN;
  }
  if (events == socket.registered) return;
  const int error = socket.registered == 0 ? loop_.watch(descriptor, events, *this) : loop_.rewatch(descriptor, events);
  socket.registered = error == 0 ? events : 0;
  if (error != 0 && socket.exchange) {
    socket.exchange->noteSystemError(error);
    unwatched_.push_back(socket.exchange);
  }
}

void ConnectionPool::learnPorts(int descriptor, Socket& socket) {
  sockaddr_storage local{};
  sockaddr_storage remote{};
  socklen_t localLength = sizeof local;
  socklen_t remoteLength = sizeof remote;
  if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &localLength) != 0) return;
  if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&remote), &remoteLength) != 0) return;
  socket.ports = portsKey(portOf(local), portOf(remote));
  descriptorsByPorts_[socket.ports] = descriptor;
}

bool ConnectionPool::isTainted(int localPort, int remotePort) const {
  const auto found = descriptorsByPorts_.find(portsKey(localPort, remotePort));
  return found != descriptorsByPorts_.end() && sockets_[static_cast<std::size_t>(found->second)].isTainted;
}

void ConnectionPool::noteOpened(int descriptor) {
  forget(descriptor);
  socketAt(descriptor).connection = ++connections_;
}

/// Nothing that is known about the number holds any longer.
void ConnectionPool::forget(int descriptor) {
  Socket& socket = socketAt(descriptor);
  if (socket.exchange && socket.exchange->socket == descriptor) socket.exchange->socket = -1;
  if (socket.isOpen) loop_.unwatch(descriptor);
  const auto found = descriptorsByPorts_.find(socket.ports);
  if (found != descriptorsByPorts_.end() && found->second == descriptor) descriptorsByPorts_.erase(found);
  socket = {};
}

int ConnectionPool::closeSocket(void* self, curl_socket_t descriptor) {
  auto& pool = *static_cast<ConnectionPool*>(self);
  pool.forget(descriptor);
  return ::close(descriptor);
}

int ConnectionPool::timerChanged(CURLM*, long milliseconds, void* self) {
  auto& pool = *static_cast<ConnectionPool*>(self);
  pool.timerDue_ = milliseconds < 0    ? never
                   : milliseconds == 0 ? pool.loop_.now()
                                       : loopNow() + milliseconds * oneMillisecond;
  return 0;
}

void ConnectionPool::ready(int descriptor, std::uint32_t events) {
  Socket& socket = socketAt(descriptor);
  if (!socket.isOpen) return;
  const bool broken = (events & (EPOLLHUP | EPOLLERR)) != 0;
  if (socket.wanted == 0) {
    loop_.unwatch(descriptor);
    socket.registered = 0;
    socket.isTainted = !socket.isMultiplexed;
    return;
  }
  if (socket.exchange && socket.exchange->isHeld()) {
    if (broken) {
      loseHeld(*socket.exchange);
    } else {
      apply(descriptor, socket);
    }
    return;
  }
  if (socket.exchange) socket.exchange->touch(loop_.now());
  int flags = broken ? CURL_CSELECT_ERR : 0;
  if (events & EPOLLIN) flags |= CURL_CSELECT_IN;
  if (events & EPOLLOUT) flags |= CURL_CSELECT_OUT;
  serve(descriptor, flags);
}

/// What the server said is read before anything is sent, which may fail: its answer would be lost.
void ConnectionPool::serve(int descriptor, int flags) {
  const Exchange* exchange = socketAt(descriptor).exchange;
  const std::uint64_t connection = socketAt(descriptor).connection;
  if (!exchange || !exchange->isSending() || (flags & CURL_CSELECT_IN) == 0) {
    act(descriptor, flags);
    return;
  }
  act(descriptor, CURL_CSELECT_IN);
  const Socket& socket = socketAt(descriptor);
  // The same exchange may have got another connection by now, with the same descriptor.
  const bool isSame = socket.connection == connection && socket.exchange == exchange;
  const bool goesOn = isSame && !exchange->isRefused();
  if (goesOn && flags != CURL_CSELECT_IN) act(descriptor, flags & ~CURL_CSELECT_IN);
}

void ConnectionPool::noteHeld(Exchange& exchange) {
  if (std::find(held_.begin(), held_.end(), &exchange) == held_.end()) held_.push_back(&exchange);
}

/// What the servers said was read, as far as it was there. Whoever's answer refuses the rest of a body waits for the
/// end of that answer; all others go on sending.
void ConnectionPool::settleHeld() {
  const auto readsOn = [this](const Exchange& exchange) {
    return exchange.socket >= 0 && (socketAt(exchange.socket).wanted & EPOLLIN) != 0;
  };
  const auto first = std::partition(held_.begin(), held_.end(), [&](const Exchange* exchange) {
    return exchange->isRefused() && readsOn(*exchange);
  });
  const std::vector<Exchange*> goingOn(first, held_.end());
  held_.erase(first, held_.end());
  for (Exchange* exchange : held_) {
    if ((socketAt(exchange->socket).wanted & EPOLLOUT) != 0) exchange->holdSending();
  }
  for (Exchange* exchange : goingOn) exchange->continueSending();
}

/// libcurl would not notice: it waits until the gate lets it write, and the loop would spin meanwhile.
void ConnectionPool::loseHeld(Exchange& exchange) {
  end(exchange, exchange.abandon(transportError(URLErrorCode::secureConnectionFailed,
                                                "the connection was lost while its server was being judged",
                                                exchange.request().url, false)));
  admit();
}

/// Whether only the application's verdict on a server holds the exchange up. Exchanges wait for each other's new
/// connection to a host, since it may turn out to be one that they can share.
bool ConnectionPool::awaitsVerdict(const Exchange& late) const {
  if (late.isHeld()) return true;
  if (late.socket >= 0) return false;
  const std::string_view host = hostKeyOf(late.request().url);
  return std::any_of(active_.begin(), active_.end(), [host](const std::unique_ptr<Exchange>& other) {
    return other->isHeld() && hostKeyOf(other->request().url) == host;
  });
}

/// After a verdict those that it held up have their whole time again, not what was left of it by chance.
void ConnectionPool::touchWhoWaitsWith(const Exchange& judged) {
  const std::string_view host = hostKeyOf(judged.request().url);
  for (const auto& other : active_) {
    if (other->socket < 0 && hostKeyOf(other->request().url) == host) other->touch(loop_.now());
  }
}

LoopTime ConnectionPool::nextTick() {
  LoopTime next = std::min({timerDue_, deadlines_.nextLook(), meters_.nextLook()});
  // Whoever waits for the limit to grow looks again soon.
  if (admission_.waiting() > 0) next = std::min(next, loop_.now() + oneMillisecond);
  return next;
}

void ConnectionPool::slept(LoopTime duration) {
  if (admission_.loopSlept(loop_.now(), duration)) admit();
}

void ConnectionPool::tick(LoopTime now) {
  if (timerDue_ <= now) {
    timerDue_ = never;
    act(CURL_SOCKET_TIMEOUT, 0);
  }
  while (ProgressMeter* meter = meters_.takeExpired(now)) meter->tell(now);
  while (Exchange* late = deadlines_.takeExpired(now)) {
    if (awaitsVerdict(*late)) {
      deadlines_.arm(*late, now + late->timeout());
    } else {
      end(*late, late->abandon(timeoutError(late->request(), late->wasSent())));
    }
  }
  admit();
}

}  // namespace platform::detail
