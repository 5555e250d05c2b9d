#include "Platform/Loading/Internal/Exchange.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <utility>

#include "Platform/Loading/Internal/Chunks.hpp"
#include "Platform/Loading/Internal/ConnectionPool.hpp"
#include "Platform/Loading/Internal/HTTPText.hpp"
#include "Platform/Loading/Internal/LocalHost.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {

namespace {

/// Room made at once for an announced body; longer ones grow as they arrive.
constexpr std::int64_t reserveLimit = std::int64_t{64} << 20;
/// Bodies above this size are sent in several steps whose progress is watched.
constexpr std::size_t watchedBodyBytes = 64 * 1024;
/// How much is read from and written to the network at once: little, since every connection under way has such a
/// buffer, or much, where it makes a file arrive in two thirds of the time.
constexpr long ordinaryBufferBytes = 16 * 1024;
constexpr long fileBufferBytes = 512 * 1024;
/// For what is sent from memory.
constexpr long uploadBufferBytes = 64 * 1024;
/// Of an answer that is found on a broken connection.
constexpr std::size_t unreadLimit = 64 * 1024;

template <class Value>
void set(CURL* handle, CURLoption option, Value value) {
  const CURLcode result = curl_easy_setopt(handle, option, value);
  if (result != CURLE_OK) {
    trap("libcurl refused option " + std::to_string(option) + ": " + curl_easy_strerror(result));
  }
}

/// Methods whose repetition changes nothing (RFC 9110, 9.2.2).
bool isIdempotent(std::string_view method) {
  constexpr std::array<std::string_view, 6> methods{"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "TRACE"};
  return std::find(methods.begin(), methods.end(), method) != methods.end();
}

/// Methods that announce an empty body rather than none (RFC 9110, 8.6).
bool expectsBody(std::string_view method) { return method == "POST" || method == "PUT" || method == "PATCH"; }

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

void Exchange::setConstantOptions() {
  set(handle_, CURLOPT_PRIVATE, this);
  set(handle_, CURLOPT_CURLU, url_);
  set(handle_, CURLOPT_ERRORBUFFER, errorText_);
  set(handle_, CURLOPT_NOSIGNAL, 1L);
  // Cancelling while a name is being resolved must not wait for the resolver.
  set(handle_, CURLOPT_QUICK_EXIT, 1L);
  set(handle_, CURLOPT_PROTOCOLS_STR, "http,https");
  set(handle_, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  set(handle_, CURLOPT_FOLLOWLOCATION, 0L);
  set(handle_, CURLOPT_HTTP_CONTENT_DECODING, 0L);
  set(handle_, CURLOPT_PATH_AS_IS, 1L);
  // Configuration is by code alone: no proxy from the environment.
  set(handle_, CURLOPT_PROXY, "");
  // Time-outs are ours; libcurl's own would end a connect after 300 s.
  set(handle_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::numeric_limits<int>::max()));
  set(handle_, CURLOPT_HEADERFUNCTION, &Exchange::receiveHeaderLine);
  set(handle_, CURLOPT_HEADERDATA, this);
  set(handle_, CURLOPT_WRITEFUNCTION, &Exchange::receiveBody);
  set(handle_, CURLOPT_WRITEDATA, this);
  set(handle_, CURLOPT_READFUNCTION, &Exchange::readBody);
  set(handle_, CURLOPT_READDATA, this);
  set(handle_, CURLOPT_SEEKFUNCTION, &Exchange::seekBody);
  set(handle_, CURLOPT_SEEKDATA, this);
  set(handle_, CURLOPT_PREREQFUNCTION, &Exchange::connectionReady);
  set(handle_, CURLOPT_PREREQDATA, this);
  set(handle_, CURLOPT_XFERINFOFUNCTION, &Exchange::progressed);
  set(handle_, CURLOPT_XFERINFODATA, this);
  set(handle_, CURLOPT_SOCKOPTFUNCTION, &ConnectionPool::socketOpened);
  set(handle_, CURLOPT_SOCKOPTDATA, &pool_);
  set(handle_, CURLOPT_CLOSESOCKETFUNCTION, &ConnectionPool::closeSocket);
  set(handle_, CURLOPT_CLOSESOCKETDATA, &pool_);
  // The trust gate verifies, with one store for the process.
  set(handle_, CURLOPT_SSL_VERIFYPEER, 1L);
  set(handle_, CURLOPT_SSL_VERIFYHOST, 2L);
  set(handle_, CURLOPT_CAINFO, static_cast<char*>(nullptr));
  set(handle_, CURLOPT_CAPATH, static_cast<char*>(nullptr));
  set(handle_, CURLOPT_SSL_SESSIONID_CACHE, 0L);
  set(handle_, CURLOPT_SSL_CTX_FUNCTION, &Exchange::prepareTLS);
  set(handle_, CURLOPT_SSL_CTX_DATA, this);
  if (pool_.share()) {
    set(handle_, CURLOPT_SHARE, pool_.share());
    set(handle_, CURLOPT_COOKIEFILE, "");
  }
}

std::optional<Error> Exchange::prepare(ExchangeOwner& owner) {
  owner_ = &owner;
  request_ = &owner.requestToSend();
  head_.reset(request_->httpMethod);
  timeout_ = std::max(loopInterval(request_->timeoutInterval), oneMillisecond);
  if (!setURL()) {
    return NSError(kCFErrorDomainCFNetwork, URLErrorCode::badURL,
                   "the transport cannot use the URL " + request_->url.absoluteString());
  }
  setBuffers();
  if (forbidsReuse_) set(handle_, CURLOPT_FORBID_REUSE, 0L);
  forbidsReuse_ = false;
  setMethodAndBody();
  if (!setHeaders()) {
    return NSError(NSURLErrorDomain, URLErrorCode::badURL, "a HEAD request cannot carry a body");
  }
  return std::nullopt;
}

bool Exchange::setURL() {
  const std::string& text = request_->url.absoluteString();
  if (text == urlText_) return true;
  urlText_.clear();
  if (curl_url_set(url_, CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) != CURLUE_OK) return false;
  urlText_ = text;
  // Others wait to see whether the first connection to a host can be shared (HTTP/2).
  set(handle_, CURLOPT_PIPEWAIT, text.starts_with("https") ? 1L : 0L);
  return true;
}

void Exchange::setMethodAndBody() {
  const std::string& method = request_->httpMethod;
  const char* name = method.c_str();
  source_ = owner_->bodySource();
  sendsBody_ = source_ || request_->httpBody || expectsBody(method);
  if (sendsBody_) {
    setBody();
    if (method == "POST") name = nullptr;
  } else {
    set(handle_, CURLOPT_HTTPGET, 1L);
    set(handle_, CURLOPT_NOPROGRESS, 1L);
    if (method == "HEAD") set(handle_, CURLOPT_NOBODY, 1L);
    if (method == "GET" || method == "HEAD") name = nullptr;
  }
  set(handle_, CURLOPT_CUSTOMREQUEST, name);
}

void Exchange::setBody() {
  static const Data nothing;
  const Data& body = request_->httpBody ? *request_->httpBody : nothing;
  if (!source_ && body.count() > watchedBodyBytes) source_ = &memoryBody_.emplace(body);
  // What is empty is not worth asking for.
  const bool isInPieces = source_ && source_->size() > 0;
  if (source_) source_->seek(0);
  const auto length = static_cast<curl_off_t>(source_ ? source_->size() : static_cast<std::int64_t>(body.count()));
  set(handle_, CURLOPT_POSTFIELDSIZE_LARGE, length);
  set(handle_, CURLOPT_POSTFIELDS, isInPieces ? nullptr : reinterpret_cast<const char*>(body.bytes()));
  set(handle_, CURLOPT_POST, 1L);
  set(handle_, CURLOPT_NOPROGRESS, isInPieces ? 0L : 1L);
}

void Exchange::setBuffers() {
  const long bytes = owner_->movesFiles() ? fileBufferBytes : ordinaryBufferBytes;
  if (bytes == bufferBytes_) return;
  bufferBytes_ = bytes;
  set(handle_, CURLOPT_BUFFERSIZE, bytes);
  set(handle_, CURLOPT_UPLOAD_BUFFERSIZE, std::max(bytes, uploadBufferBytes));
}

bool Exchange::setHeaders() {
  if (request_->httpMethod == "HEAD" && (source_ || request_->httpBody)) return false;
  headerText_.clear();
  std::size_t lines = 0;
  auto add = [&](std::string_view name, std::string_view separator, std::string_view value) {
    headerText_.append(name).append(separator).append(value).push_back('\0');
    ++lines;
  };
  const std::string* cookie = nullptr;
  bool hasAccept = false;
  bool hasContentType = false;
  bool hasExpect = false;
  for (const auto& [name, value] : request_->allHTTPHeaderFields) {
    const std::size_t length = name.size();
    if (length == 6 && equalsIgnoringCase(name, "Accept")) hasAccept = true;
    if (length == 12 && equalsIgnoringCase(name, "Content-Type")) hasContentType = true;
    if (length == 6 && equalsIgnoringCase(name, "Expect")) hasExpect = true;
    if (length == 6 && pool_.share() && equalsIgnoringCase(name, "Cookie")) {
      cookie = &value;
    } else if (value.empty()) {
      add(name, ";", {});  // libcurl's way to write a field without a value
    } else {
      add(name, ": ", value);
    }
  }
  // What libcurl would add by itself and the request does not say.
  if (!hasAccept) add("Accept", ":", {});
  if (sendsBody_) {
    if (!hasContentType) add("Content-Type", ":", {});
    // To wait for a permission costs a round trip, and a second at servers that never give it. An answer that
    // comes early is seen while the body is being sent.
    if (!hasExpect) add("Expect", ":", {});
  }
  set(handle_, CURLOPT_COOKIE, cookie ? cookie->c_str() : nullptr);

  headerNodes_.resize(lines);
  char* line = headerText_.data();
  for (std::size_t i = 0; i < lines; ++i) {
    headerNodes_[i] = {line, i + 1 < lines ? &headerNodes_[i + 1] : nullptr};
    line += std::char_traits<char>::length(line) + 1;
  }
  set(handle_, CURLOPT_HTTPHEADER, headerNodes_.data());
  return true;
}

std::size_t Exchange::readBody(char* room, std::size_t size, std::size_t count, void* self) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (exchange.takesNoMore()) return 0;
  if (exchange.hasUnreadAnswer()) {
    exchange.pool_.noteHeld(exchange);
    return CURL_READFUNC_PAUSE;
  }
  auto read = exchange.source_->read({reinterpret_cast<std::byte*>(room), size * count});
  if (const auto* bytes = std::get_if<std::size_t>(&read)) return *bytes;
  exchange.fail(std::get<LoadFailure>(std::move(read)));
  return CURL_READFUNC_ABORT;
}

int Exchange::seekBody(void* self, curl_off_t offset, int origin) {
  auto& exchange = *static_cast<Exchange*>(self);
  if (origin != SEEK_SET || !exchange.source_) return CURL_SEEKFUNC_CANTSEEK;
  exchange.source_->seek(offset);
  return CURL_SEEKFUNC_OK;
}

/// A server that has seen enough answers and closes; whoever goes on sending then loses the answer. Over HTTP/2
/// servers talk all the time, and the answer is not lost.
bool Exchange::hasUnreadAnswer() const {
  char byte = 0;
  return socket >= 0 && !startedOnMultiplexed_ && ::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

/// Ends the body early when it is of no use any more. The connection is then no good for another request.
bool Exchange::takesNoMore() {
  if (!isRefused() && !(gate_ && gate_->lostOutput())) return false;
  if (!forbidsReuse_) set(handle_, CURLOPT_FORBID_REUSE, 1L);
  forbidsReuse_ = true;
  return true;
}

void Exchange::holdSending() { curl_easy_pause(handle_, CURLPAUSE_SEND); }

void Exchange::continueSending() { curl_easy_pause(handle_, CURLPAUSE_CONT); }

void Exchange::keepUnread(int descriptor) {
  if (!isSending() || gate_ || head_.hasBegun()) return;
  unread_.resize(unreadLimit);
  const ssize_t count = ::recv(descriptor, unread_.data(), unread_.size(), MSG_PEEK | MSG_DONTWAIT);
  unread_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
}

/// libcurl gave up a plain connection because it could not send; what the server had said before was kept.
bool Exchange::takeLeftAnswer() {
  std::string_view left = unread_;
  while (!response_) {
    const std::size_t end = left.find('\n');
    if (end == left.npos) return false;
    std::string line(left.substr(0, end + 1));
    if (receiveHeaderLine(line.data(), 1, line.size(), this) == 0) return false;
    left.remove_prefix(line.size());
  }
  return takeLeftBody(left);
}

bool Exchange::takeLeftBody(std::string_view left) {
  std::string joined;
  if (head_.framing() == BodyFraming::none || !wantsBody_) return true;
  if (head_.framing() == BodyFraming::length) {
    joined = left.substr(0, static_cast<std::size_t>(std::min(head_.contentLength(), std::int64_t{unreadLimit})));
  } else if (head_.framing() == BodyFraming::chunked) {
    auto content = joinedChunks(left);
    if (!content) return false;
    joined = std::move(*content);
  } else {
    return false;  // the connection broke, which is no end
  }
  return joined.empty() || receiveBody(joined.data(), 1, joined.size(), this) != 0;
}

/// As far as can be told: the end of chunks is known to libcurl alone, and that of a stream to nobody.
bool Exchange::isAnswerComplete() const {
  if (!response_) return false;
  if (!wantsBody_ || head_.framing() == BodyFraming::none) return true;
  return head_.framing() == BodyFraming::length && received_ == head_.contentLength();
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
                           .systemError = static_cast<int>(systemError),
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
  gate_.reset();
  failure_.reset();
  errorText_[0] = '\0';
  socket = -1;
}

}  // namespace platform::detail
