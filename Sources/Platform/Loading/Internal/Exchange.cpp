#include "Platform/Loading/Internal/Exchange.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <string_view>
#include <utility>

#include "Platform/Loading/Internal/ConnectionPool.hpp"
#include "Platform/Loading/Internal/LocalHost.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

/// Room made at once for an announced body; longer ones grow as they arrive.
constexpr std::int64_t reserveLimit = std::int64_t{64} << 20;

/// Methods whose repetition changes nothing (RFC 9110, 9.2.2).
bool isIdempotent(std::string_view method) {
  constexpr std::array<std::string_view, 6> methods{"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "TRACE"};
  return std::find(methods.begin(), methods.end(), method) != methods.end();
}

}  // namespace

Exchange::Exchange(ConnectionPool& pool) : pool_(pool), handle_(curl_easy_init()), url_(curl_url()) {
  if (!handle_ || !url_) throw std::bad_alloc();
  errorText_[0] = '\0';
  setConstantOptions();
}

Exchange::~Exchange() {
  curl_easy_cleanup(handle_);
  curl_url_cleanup(url_);
}

curl_socket_t Exchange::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
  auto& exchange = *static_cast<Exchange*>(self);
  // Programs that the application starts, on whatever thread, must not inherit it: there is no moment without the mark.
  const int made = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  if (made < 0) {
    // Not every family is there on every machine, and the other may do; for what follows, nothing will.
    if (errno != EAFNOSUPPORT) exchange.noteSystemError(errno);
    return CURL_SOCKET_BAD;
  }
  exchange.pool_.noteOpened(made);
  exchange.opened_.push_back(made);
  return made;
}

int Exchange::connectionReady(void* self, char*, char*, int remotePort, int localPort) {
  auto& exchange = *static_cast<Exchange*>(self);
  exchange.touch(exchange.pool_.loop().now());
  exchange.mustRestart_ = exchange.pool_.isTainted(localPort, remotePort);
  if (exchange.mustRestart_) return CURL_PREREQFUNC_ABORT;
  if (++exchange.starts_ > 1 && !exchange.mayStartAgain()) return CURL_PREREQFUNC_ABORT;
  if (!exchange.urlText_.starts_with("https")) return CURL_PREREQFUNC_OK;

  curl_tlssessioninfo* tls = nullptr;
  curl_easy_getinfo(exchange.handle_, CURLINFO_TLS_SSL_PTR, &tls);
  auto* connection = tls ? static_cast<SSL*>(tls->internals) : nullptr;
  exchange.gate_ = connection ? TrustGate::of(connection) : nullptr;
  if (!exchange.gate_) {
    exchange.fail(URLErrorCode::secureConnectionFailed, "the server showed no certificate");
    return CURL_PREREQFUNC_ABORT;
  }
  exchange.startedOnMultiplexed_ = TrustGate::isMultiplexed(connection);
  if (exchange.startedOnMultiplexed_ && exchange.socket >= 0) exchange.pool_.noteMultiplexed(exchange.socket);
  if (exchange.gate_->state() == TrustGate::State::accepted) return CURL_PREREQFUNC_OK;
  exchange.failure_ = exchange.gate_->reason();
  if (!exchange.failure_) exchange.fail(URLErrorCode::serverCertificateUntrusted, "the server was not judged");
  return CURL_PREREQFUNC_ABORT;
}

void Exchange::gateClosed(std::shared_ptr<TrustGate> gate) {
  gate_ = std::move(gate);
  touch(pool_.loop().now());
  pool_.ask(gate_);
}

bool Exchange::mustRestart(CURLcode result) const {
  return mustRestart_ || (result == CURLE_SEND_ERROR && lostKeptConnection());
}

/// As libcurl does itself where it is the reading that fails.
bool Exchange::lostKeptConnection() const {
  long opened = 0;
  curl_easy_getinfo(handle_, CURLINFO_NUM_CONNECTS, &opened);
  return opened == 0 && starts_ == 1 && !head_.hasBegun() && unread_.empty() && !failure_ &&
         isIdempotent(request_->httpMethod);
}

void Exchange::prepareRestart() {
  mustRestart_ = false;
  if (source_) source_->seek(0);
}

bool Exchange::mayStartAgain() {
  // libcurl starts again by itself when a kept connection dies before the first byte of the answer. It also does
  // when a server that retires its HTTP/2 connection has not looked at the request (RFC 9113, 8.7); this may
  // happen more than once, and libcurl bounds it.
  const bool isSafe = isIdempotent(request_->httpMethod);
  if (isSafe && (starts_ == 2 || startedOnMultiplexed_)) return true;
  return fail(URLErrorCode::networkConnectionLost,
              isSafe ? "the connection was lost twice before an answer came"
                     : "the connection was lost before an answer came; a " + request_->httpMethod +
                           " is not repeated, since the server may have acted on it");
}

CURLcode Exchange::prepareTLS(CURL*, void* context, void* self) {
  auto& exchange = *static_cast<Exchange*>(self);
  const URL& url = exchange.request_->url;
  TrustGate::install(static_cast<SSL_CTX*>(context), url.host().value_or(std::string()), url.port().value_or(443),
                     exchange);
  return CURLE_OK;
}

int Exchange::progressed(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (std::exchange(exchange.sent_, sent) == sent) return 0;
  exchange.touch(exchange.pool_.loop().now());
  exchange.owner_->bodySent(sent);
  return 0;
}

std::size_t Exchange::receiveHeaderLine(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<Exchange*>(self);
  const std::size_t length = size * count;
  exchange.touch(exchange.pool_.loop().now());
  ResponseHead::Result result = exchange.head_.consume({bytes, length});
  bool goesOn = true;
  if (auto* failure = std::get_if<LoadFailure>(&result)) {
    goesOn = exchange.fail(std::move(*failure));
  } else if (std::get<HeadEvent>(result) == HeadEvent::complete) {
    goesOn = exchange.headComplete();
  }
  return goesOn ? length : 0;
}

bool Exchange::headComplete() {
  response_ =
      std::make_shared<HTTPURLResponse>(request_->url, head_.statusCode(), head_.httpVersion(), head_.takeFields());
  wantsBody_ = owner_->wantsBody(response_);
  const bool hasLength = head_.framing() == BodyFraming::length;
  const std::int64_t announced = hasLength ? head_.contentLength() : 0;
  if (isRefused()) pool_.noteHeld(*this);
  // libcurl would send the request once more by itself, with the expectation that was just refused.
  endedByUs_ = !wantsBody_ && head_.statusCode() == 417;
  if (endedByUs_) return false;
  if (!wantsBody_ || head_.framing() == BodyFraming::none) return true;
  owner_->bodyAnnounced(hasLength ? announced : URLResponse::unknownLength);
  auto sink = owner_->bodySink();
  if (auto* failure = std::get_if<LoadFailure>(&sink)) return fail(std::move(*failure));
  sink_ = std::get<BodySink*>(sink);
  const std::int64_t limit = bodyLimit();
  if (announced > limit) {
    return fail(URLErrorCode::dataLengthExceedsMaximum,
                "the body of " + std::to_string(announced) + " bytes exceeds the limit of " + std::to_string(limit));
  }
  ContentDecoder::Choice choice =
      ContentDecoder::make(response_->allHeaderFields(), limit, [this](Bytes decoded) { return store(decoded); });
  if (choice.failure) return fail(std::move(*choice.failure));
  decoder_ = std::move(choice.decoder);
  if (!sink_ && !decoder_ && announced > 0) body_.reserve(static_cast<std::size_t>(std::min(announced, reserveLimit)));
  return true;
}

/// What goes to a file takes no memory.
std::int64_t Exchange::bodyLimit() const {
  return sink_ ? std::numeric_limits<std::int64_t>::max() : pool_.configuration().maximumBodyBytes;
}

std::optional<LoadFailure> Exchange::store(Bytes bytes) {
  if (sink_) return sink_->take(bytes);
  body_.append(bytes);
  return std::nullopt;
}

std::size_t Exchange::receiveBody(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<Exchange*>(self);
  const std::size_t length = size * count;
  exchange.touch(exchange.pool_.loop().now());
  exchange.received_ += static_cast<std::int64_t>(length);
  return exchange.acceptBody(reinterpret_cast<const std::byte*>(bytes), length) ? length : 0;
}

bool Exchange::acceptBody(const std::byte* bytes, std::size_t count) {
  if (!response_) return fail(URLErrorCode::cannotParseResponse, "a body came before the end of the head");
  if (!wantsBody_) {
    endedByUs_ = received_ > static_cast<std::int64_t>(discardLimit);
    return !endedByUs_;
  }
  if (!decoder_ && received_ > bodyLimit()) {
    return fail(URLErrorCode::dataLengthExceedsMaximum,
                "the body exceeds the limit of " + std::to_string(bodyLimit()) + " bytes");
  }
  std::optional<LoadFailure> failure = decoder_ ? decoder_->decode({bytes, count}) : store({bytes, count});
  if (failure) return fail(std::move(*failure));
  owner_->bodyReceived(received_);
  return true;
}

bool Exchange::fail(std::int32_t code, std::string message) {
  if (!failure_) {
    failure_ = transportError(code, std::move(message), request_->url, starts_ > 0);
  }
  return false;
}

bool Exchange::fail(LoadFailure failure) { return fail(failure.code, std::move(failure.message)); }

ExchangeOutcome Exchange::finish(CURLcode result) {
  ExchangeOutcome outcome;
  wentStraight_ = result == CURLE_OK && starts_ == 1;
  if (result == CURLE_SEND_ERROR && !failure_ && (isAnswerComplete() || takeLeftAnswer())) result = CURLE_OK;
  if (sendsBody_) {
    curl_off_t sent = 0;
    curl_easy_getinfo(handle_, CURLINFO_SIZE_UPLOAD_T, &sent);
    owner_->bodySent(sent);
  }
  if (!failure_ && !endedByUs_) {
    if (result != CURLE_OK) {
      const TransportFailure failure = failureOf(result);
      failure_ = transportError(failure, request_->url);
      outcome.lacksConnectivity = starts_ == 0 && isConnectivityFailure(failure);
    } else {
      checkCompleteness();
    }
  }
  outcome.error = std::move(failure_);
  outcome.response = std::move(response_);
  outcome.body = std::move(body_);
  return outcome;
}

TransportFailure Exchange::failureOf(CURLcode result) const {
  long systemError = 0;
  curl_easy_getinfo(handle_, CURLINFO_OS_ERRNO, &systemError);
  TransportFailure failure{.code = result,
                           .text = errorText_,
                           .systemError = systemError_ != 0 ? systemError_ : static_cast<int>(systemError),
                           .requestWasSent = starts_ > 0,
                           .isLocal = isThisMachine(request_->url.host().value_or(std::string()))};
  failure.isOffline = isOffline(failure);
  // A connection is ready when its handshake is over; one that was lost earlier was lost in it.
  failure.isSecuring = starts_ == 0 && urlText_.starts_with("https");
  return failure;
}

void Exchange::checkCompleteness() {
  if (!response_) {
    fail(URLErrorCode::networkConnectionLost, "the connection closed before the head of the answer was complete");
    return;
  }
  if (head_.framing() == BodyFraming::length && received_ != head_.contentLength()) {
    fail(URLErrorCode::networkConnectionLost, "the connection closed after " + std::to_string(received_) + " of " +
                                                  std::to_string(head_.contentLength()) + " bytes of the body");
    return;
  }
  // Where the end of the stream marks the end of the body, it must be announced (RFC 9112, 9.8).
  if (head_.framing() == BodyFraming::untilClose && gate_ && head_.httpVersion().starts_with("HTTP/1") &&
      !gate_->sawClosingAlert()) {
    fail(URLErrorCode::networkConnectionLost,
         "the TLS stream ended without its closing alert, so the body may be cut off");
    return;
  }
  if (!decoder_) return;
  if (std::optional<LoadFailure> failure = decoder_->finish()) fail(std::move(*failure));
}

ExchangeOutcome Exchange::abandon(Error error) {
  ExchangeOutcome outcome;
  outcome.error = std::move(error);
  outcome.response = std::move(response_);
  outcome.body = std::move(body_);
  return outcome;
}

void Exchange::recycle() {
  owner_ = nullptr;
  request_ = nullptr;
  source_ = nullptr;
  memoryBody_.reset();
  unread_.clear();
  sink_ = nullptr;
  response_.reset();
  decoder_.reset();
  body_ = Data();
  received_ = 0;
  wantsBody_ = true;
  endedByUs_ = false;
  sent_ = 0;
  starts_ = 0;
  startedOnMultiplexed_ = false;
  mustRestart_ = false;
  wentStraight_ = false;
  opened_.clear();
  systemError_ = 0;
  gate_.reset();
  failure_.reset();
  errorText_[0] = '\0';
  socket = -1;
}

}  // namespace platform::detail
