#include "Corvane/Transport/Internal/Sending.hpp"

#include <stop_token>
#include <string>
#include <typeinfo>
#include <utility>

#include "Corvane/Errors/HTTPNetworkForbiddenError.hpp"
#include "Corvane/Insight/Internal/SessionInsight.hpp"
#include "Corvane/Settings.hpp"
#include "Corvane/Transport/HTTPClientConfiguration.hpp"
#include "Corvane/Transport/HTTPService.hpp"
#include "Corvane/Transport/Internal/InterceptedParts.hpp"
#include "Corvane/Transport/Internal/InterceptedSend.hpp"
#include "Corvane/Transport/Internal/ProgressRelay.hpp"
#include "Platform/Loading/Detail/ExchangeSources.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::detail {

using platform::Data;
using platform::Error;
using platform::URL;
using platform::URLRequest;
using platform::URLResponse;
using platform::URLSession;

namespace {

/// The session was closed between the moment when it was chosen and that when its task began: nothing was sent.
bool wasTurnedAway(const std::optional<Error>& error) {
  return error && error->domain() == platform::NSURLErrorDomain &&
         error->userInfo().contains(platform::URLErrorKey::sessionWasClosed);
}

Error networkForbidden(const std::string& method, const URL& url) { return HTTPNetworkForbiddenError(method, url); }

URLRequest requestOf(const SendExchange& exchange) {
  URLRequest request = exchange.urlRequest();
  const double connectTimeout = exchange.bounds().connectTimeout.count();
  if (!(connectTimeout >= request.connectTimeout)) request.connectTimeout = connectTimeout;
  request.isRepetition = exchange.bounds().isRepetition;
  return request;
}

}  // namespace

NetworkAccess::NetworkAccess(const SendExchange& exchange) : isForbidden_(Corvane::isNetworkForbidden) {
  auto sources = platform::detail::ExchangeSources::current(exchange.requestType());
  if (sources && isForbidden_) sources->refusal = networkForbidden;
  sources_ = std::move(sources);
}

void NetworkAccess::enter(URLRequest& request) const {
  if (request.url.isFileURL()) return;
  if (isForbidden_ && !sources_) throw HTTPNetworkForbiddenError(request.httpMethod, request.url);
  request.exchangeSources = sources_;
}

bool Sending::Parts::isIntercepted() const {
  return client.configuration && !client.configuration->interceptors.empty();
}

Sending::~Sending() = default;

Sending::Parts Sending::partsOf(const std::shared_ptr<SendExchange>& exchange, std::shared_ptr<ProgressRelay> relay) {
  auto sessionKey = exchange->sessionKey();
  auto client = HTTPService::shared().client(sessionKey);
  exchange->client = client.configuration;
  Parts parts{exchange,          std::move(relay),     std::move(sessionKey),
              std::move(client), requestOf(*exchange), NetworkAccess(*exchange)};
  if (!parts.isIntercepted()) parts.access.enter(parts.request);
  // Here, on the thread that sends: interceptors run elsewhere, as does a second beginning.
  SessionInsight::trace(parts.request, *parts.client.session);
  return parts;
}

/// That of the parts is of no use to a second task: it may be closed.
std::shared_ptr<URLSession> Sending::session() {
  auto session = std::exchange(parts_.client.session, nullptr);
  return session ? session : HTTPService::shared().urlSession(parts_.sessionKey);
}

std::stop_token Sending::stop() const { return receiver() ? receiver()->stop() : exchange().bounds().stop; }

/// Registers the task, and starts it. Where that throws, nothing is left that could cancel it.
void Sending::begin() {
  const auto session = this->session();
  const auto task = makeTask(*session);
  task_ = task;  // before anybody can cancel it: its completion, on another thread, reads it
  const std::stop_token stop = this->stop();
  try {
    if (parts_.relay) observation_ = parts_.relay->observe(task, exchange().completionQueue());
    stop_.watch(stop, task);
    if (!receiver()) insertTaskIntoTaskManager(exchange(), task);
    stop_.begin(stop, *task);
    task->resume();
  } catch (...) {
    stop_.end();
    task_.reset();
    throw;
  }
}

bool Sending::isOver(const std::optional<Error>& error) {
  stop_.end();
  if (!wasTurnedAway(error)) return true;
  try {
    begin();
  } catch (...) {
    fail(Error::current());
  }
  return false;
}

void Sending::process(TaskOutcome outcome) {
  outcome.metrics = metrics();
  if (receiver()) {
    receiver()->receive(InterceptedParts::of(std::move(outcome)));
  } else {
    processTaskCompletion(parts_.exchange, std::move(outcome));
  }
  observation_.invalidate();
}

std::shared_ptr<const URLRequest> Sending::sent() const { return receiver() ? receiver()->sent() : nullptr; }

void Sending::fail(Error error) {
  if (receiver()) return receiver()->receive(HTTPInterceptedResponse(std::move(error)));
  report(parts_.exchange, std::move(error));
}

URLSession::DataCompletion Sending::dataCompletion() {
  return [self = shared_from_this()](std::optional<Data> data, std::shared_ptr<const URLResponse> response,
                                     std::optional<Error> error) {
    if (self->isOver(error)) self->process({std::move(data), std::nullopt, std::move(response), std::move(error)});
  };
}

}  // namespace corvane::detail
