#include "Platform/Loading/Internal/HTTPLoad.hpp"

#include <algorithm>
#include <new>
#include <utility>

#include "Platform/Foundation/Internal/UserInformation.hpp"
#include "Platform/Loading/Internal/BodyLimit.hpp"
#include "Platform/Loading/Internal/HTTPLoader.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

using networking::BodyDisposition;
using networking::ExchangeProblem;
using networking::FailureCause;
using networking::ResponseHeadView;

namespace {

/// Methods that announce an empty body rather than none (RFC 9110, 8.6).
bool expectsBody(std::string_view method) { return method == "POST" || method == "PUT" || method == "PATCH"; }

/// Fields that the connection writes itself. What the request says of them was checked to agree.
bool isWrittenByConnection(std::string_view name) {
  return (name.size() == 14 && equalsIgnoringCase(name, "Content-Length")) ||
         (name.size() == 17 && equalsIgnoringCase(name, "Transfer-Encoding"));
}

}  // namespace

HTTPLoad::HTTPLoad(HTTPLoader& loader) : loader_(loader), exchange_(loader.pool(), *this) {}

std::optional<Error> HTTPLoad::prepare(LoadOwner& owner) {
  owner_ = &owner;
  request_ = &owner.requestToSend();
  if (!target_.set(request_->url)) {
    return NSError(kCFErrorDomainCFNetwork, URLErrorCode::badURL,
                   "the transport cannot use the URL " + withoutUserInformation(request_->url.absoluteString()));
  }
  chooseBody();
  head_.method = request_->httpMethod;
  head_.isSecure = target_.route().origin.isSecure;
  head_.authority = target_.authority();
  head_.target = target_.target();
  chooseRoute();
  composeFields();
  head_.fields = fields_;
  return std::nullopt;
}

void HTTPLoad::chooseBody() {
  body_ = nullptr;
  head_.contentLength.reset();
  if (request_->httpMethod == "HEAD") return;  // one of HEAD is empty, and none
  if (ProducedBody* const produced = owner_->producedBody()) {
    producedBody_ = produced;
    produced->setListener(this);
    body_ = produced;
  } else if (UploadFile* const file = owner_->bodyFile()) {
    fileBody_.set(*file);
    body_ = &fileBody_;
  } else if (request_->httpBody) {
    memoryBody_.set(*request_->httpBody);
    body_ = &memoryBody_;
  }
  if (body_) {
    head_.contentLength = body_->length();
    if (head_.contentLength == 0) body_ = nullptr;
  } else if (expectsBody(request_->httpMethod)) {
    head_.contentLength = 0;
  }
}

void HTTPLoad::composeFields() {
  fields_.clear();
  cookies_.clear();
  loader_.appendCookies(target_, cookies_);
  std::string_view ownCookies;
  bool isAuthorized = target_.authorization().empty();
  for (const auto& [name, value] : request_->allHTTPHeaderFields) {
    if (isWrittenByConnection(name) || (proxied_ && !mayTellPeer(name))) continue;
    if (name.size() == 13 && equalsIgnoringCase(name, "Authorization")) isAuthorized = true;
    if (name.size() == 6 && !cookies_.empty() && equalsIgnoringCase(name, "Cookie")) {
      ownCookies = value;
    } else {
      addField(name, value);
    }
  }
  if (!isAuthorized) addField("Authorization", target_.authorization());
  if (request_->cachePolicy == URLRequestCachePolicy::reloadIgnoringLocalAndRemoteCacheData &&
      !request_->allHTTPHeaderFields.contains("Cache-Control"))
    addField("Cache-Control", "no-cache");
  // What stands between the request and the network is no proxy: it is not told.
  if (!request_->exchangeSources) authorizeAtProxy();
  if (!ownCookies.empty()) cookies_.append("; ").append(ownCookies);
  if (!cookies_.empty()) addField("Cookie", cookies_);
}

BodyDisposition HTTPLoad::responseHead(const ResponseHeadView& head) {
  if (respondsToProxy(head)) return BodyDisposition::discard;
  HTTPHeaderFields fields;
  for (const auto& [name, value] : head.fields) fields.add(name, value);
  loader_.storeCookies(target_, fields);
  if (tap()) tap()->responseHead(head.statusCode, fields);
  if (cacheRole_ != CacheRole::none && cacheTakesHead(head.statusCode, fields)) {
    statusCode_ = head.statusCode;
    return BodyDisposition::discard;
  }
  auto response = std::make_shared<HTTPURLResponse>(request_->url, head.statusCode, std::string(head.httpVersion),
                                                    std::move(fields));
  response->setRedirects(owner_->redirects());
  response_ = std::move(response);
  statusCode_ = head.statusCode;
  wantsBody_ = owner_->wantsBody(response_);
  if (!wantsBody_) return BodyDisposition::discard;
  if (!head.hasBody) return BodyDisposition::deliver;
  return expectBody(head) ? BodyDisposition::deliver : BodyDisposition::discard;
}

/// False when the body cannot be taken: the failure is kept, and the rest of the response is of no use.
bool HTTPLoad::expectBody(const ResponseHeadView& head) {
  owner_->bodyAnnounced(head.bodyLength);
  auto sink = owner_->bodySink();
  if (auto* failure = std::get_if<LoadFailure>(&sink)) return fail(std::move(*failure));
  sink_ = std::get<BodySink*>(sink);
  const std::int64_t limit = bodyLimit();
  if (head.bodyLength > limit) {
    return fail({URLErrorCode::dataLengthExceedsMaximum, "the body of " + std::to_string(head.bodyLength) +
                                                             " bytes exceeds the limit of " + std::to_string(limit)});
  }
  if (sink_ && sink_->decodes()) return true;
  ContentDecoder::Choice choice = ContentDecoder::make(request_->allHTTPHeaderFields, response_->allHeaderFields(),
                                                       {.maximumBytes = limit, .limitsExpansion = !sink_});
  if (choice.failure) return fail(std::move(*choice.failure));
  decoder_ = std::move(choice.decoder);
  if (!sink_ && !decoder_) received_.expect(head.bodyLength);
  return true;
}

std::int64_t HTTPLoad::bodyLimit() const {
  return detail::bodyLimit(*request_, loader_.configuration(), sink_ != nullptr);
}

std::optional<LoadFailure> HTTPLoad::store(Bytes bytes) {
  decodedBytes_ += bytes.size();
  if (sink_) return sink_->take(bytes);
  received_.append(bytes);
  return std::nullopt;
}

bool HTTPLoad::isWithinLimit(std::size_t count) {
  receivedBytes_ += static_cast<std::int64_t>(count);
  const bool countsDecoded = decoder_ || (sink_ && sink_->decodes());
  if (countsDecoded || receivedBytes_ <= bodyLimit()) return true;
  return fail({URLErrorCode::dataLengthExceedsMaximum,
               "the body exceeds the limit of " + std::to_string(bodyLimit()) + " bytes"});
}

bool HTTPLoad::responseBody(networking::Bytes bytes) {
  if (tap()) tap()->responseBody(bytes);
  if (failure_ || !isWithinLimit(bytes.size())) return false;
  std::optional<LoadFailure> failure =
      decoder_ ? decoder_->decode(bytes, [this](Bytes decoded) { return store(decoded); }) : store(bytes);
  if (failure) return fail(std::move(*failure));
  owner_->bodyReceived(receivedBytes_);
  return true;
}

/// Only what is kept as it comes can be received where it stays.
std::span<std::byte> HTTPLoad::responseRoom(std::size_t count) {
  if (decoder_ || tap()) return {};
  return sink_ ? sink_->room(count) : received_.room(count);
}

bool HTTPLoad::responseFilled(std::size_t count) {
  decodedBytes_ += count;
  if (!sink_) received_.filled(count);
  if (!isWithinLimit(count)) return false;
  if (sink_) sink_->filled(count);
  owner_->bodyReceived(receivedBytes_);
  return true;
}

void HTTPLoad::requestBodySent(std::uint64_t total) { owner_->bodySent(static_cast<std::int64_t>(total)); }

bool HTTPLoad::fail(LoadFailure failure) {
  if (!failure_) {
    failure_ = transportError(failure.code, std::move(failure.message), request_->url, exchange_.requestWasSent());
  }
  return false;
}

void HTTPLoad::exchangeEnded(std::optional<ExchangeProblem> problem) noexcept {
  if (canRespondToProxy(problem)) return loader_.submitAgain(*this, *proxied_->repeats);
  if (cached_ && cached_->isContradicted) return loader_.submitAgain(*this, TransactionMetrics::Cause::notConfirmed);
  if (cacheStandsFor(problem)) return serveStored();
  LoadOutcome outcome;
  try {
    judge(problem, outcome.lacksConnectivity);
  } catch (const std::bad_alloc&) {
    failure_ = Error::outOfMemory();
  }
  if (tap()) tap()->ended(failure_);
  outcome.body = received_.take();
  if (cacheRole_ == CacheRole::stores && !problem && !failure_) storeResponse(outcome.body);
  outcome.error = std::move(failure_);
  outcome.response = std::move(response_);
  loader_.end(*this, std::move(outcome));
}

/// Whether what was received is whole.
void HTTPLoad::judge(std::optional<ExchangeProblem>& problem, bool& lacksConnectivity) {
  if (failure_) return;
  if (isWantedByProxy(problem)) {
    fail({URLErrorCode::requestBodyStreamExhausted,
          "the proxy asks for the body of the request once more, and its producer cannot be rewound"});
    return;
  }
  // An unwanted body may be cut off, or be given up by us.
  if (problem && (wantsBody_ || !response_)) {
    failure_ = errorOf(*problem, lacksConnectivity);
  } else if (!problem && decoder_) {
    if (std::optional<LoadFailure> failure = decoder_->finish()) fail(std::move(*failure));
  }
}

void HTTPLoad::exchangeRefused() noexcept {
  if (tap()) tap()->ended(failure_);
  loader_.end(*this, abandon(std::move(*failure_)));
}

Error HTTPLoad::errorOf(ExchangeProblem& problem, bool& lacksConnectivity) {
  switch (problem.kind) {
    case ExchangeProblem::Kind::timedOut:
      return timeoutError(*request_, problem.requestWasSent);
    case ExchangeProblem::Kind::connectTimedOut:
      return connectTimeoutError(*request_, problem.requestWasSent);
    case ExchangeProblem::Kind::rejected:
      return std::move(*problem.rejection);
    case ExchangeProblem::Kind::network:
      break;
  }
  if (body_ == &fileBody_ && fileBody_.failure()) {
    return transportError(fileBody_.failure()->code, fileBody_.failure()->message, request_->url,
                          problem.requestWasSent);
  }
  if (producedBody_ && producedBody_->failure()) return errorOfProducedBody(problem);
  if (problem.failure.cause == FailureCause::outOfMemory) return Error::outOfMemory();
  if (problem.failure.cause == FailureCause::outOfDescriptors) {
    return resourceError(problem.failure.systemError, request_->url);
  }
  if (producedBody_ && producedBody_->wasRefused()) {
    problem.failure.message += ", and the body of the request cannot be sent again: its producer cannot be rewound";
  }
  const bool isOfProxy = problem.failure.hop != networking::Hop::origin;
  const std::string& host = isOfProxy ? proxy().host : target_.host();
  const TransportFailure failure = sourced_ && sourced_->isFailure
                                       ? TransportFailure{.reason = std::move(problem.failure)}
                                       : TransportFailure::of(std::move(problem.failure), host, problem.requestWasSent);
  lacksConnectivity = !problem.requestWasSent && isConnectivityFailure(failure);
  return transportError(failure, request_->url);
}

/// One of ours tells of the request; one of the producer's own is left as it is.
Error HTTPLoad::errorOfProducedBody(const ExchangeProblem& problem) const {
  const Error& error = *producedBody_->failure();
  if (error.domain() != kCFErrorDomainCFNetwork) return error;
  return transportError(static_cast<std::int32_t>(error.code()), error.message(), request_->url,
                        problem.requestWasSent);
}

LoadOutcome HTTPLoad::abandon(Error error) {
  LoadOutcome outcome;
  outcome.error = std::move(error);
  outcome.response = std::move(response_);
  outcome.body = received_.take();
  return outcome;
}

void HTTPLoad::recordMetrics() const noexcept {
  LoadFacts facts{.statusCode = statusCode_, .decodedBytes = decodedBytes_};
  if (sink_ && sink_->decodes()) facts.decodedBytes.reset();
  owner_->metricsRecord.add(exchange_, *request_, facts);
  if (cached_ && cached_->isServed) {
    owner_->metricsRecord.addFromCache(loader_.loop().now(), *request_, cached_->stored->statusCode(),
                                       cached_->servedBytes);
  }
}

void HTTPLoad::recycle() {
  exchange_.forgetMetrics();
  statusCode_.reset();
  decodedBytes_ = 0;
  sourced_.reset();
  cached_.reset();
  cacheRole_ = CacheRole::none;
  owner_ = nullptr;
  request_ = nullptr;
  memoryBody_.set(Data());
  if (auto* const produced = std::exchange(producedBody_, nullptr)) produced->setListener(nullptr);
  body_ = nullptr;
  response_.reset();
  wantsBody_ = false;
  sink_ = nullptr;
  decoder_.reset();
  received_.take();
  receivedBytes_ = 0;
  failure_.reset();
}

}  // namespace platform::detail
