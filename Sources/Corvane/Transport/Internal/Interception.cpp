#include "Corvane/Transport/Internal/Interception.hpp"

#include <typeinfo>

#include "Corvane/Errors/HTTPInterceptorError.hpp"
#include "Corvane/Transport/HTTPClientConfiguration.hpp"
#include "Corvane/Transport/HTTPService.hpp"
#include "Corvane/Transport/Internal/InterceptedParts.hpp"
#include "Corvane/Transport/Internal/InterceptedSend.hpp"
#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Foundation/TypeName.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Velisand/Detail/Gathering.hpp"

namespace corvane::detail {

using platform::DispatchQueue;
using platform::Error;
using platform::URLRequest;
using platform::detail::MutexLock;
using platform::detail::requiringMemory;
using velisand::detail::FutureAccess;

namespace {

using Outcome = Interception::Outcome;
using Response = Interception::Response;
using Interceptors = std::vector<std::shared_ptr<HTTPInterceptor>>;

constexpr const char* queueLabel = "org.corvane.Corvane.interceptors";

/// Passes the response of an interceptor on. One that is destroyed before tells that there is none.
class Awaited {
 public:
  Awaited(Outcome outcome, std::shared_ptr<const HTTPClientConfiguration> owner, const HTTPInterceptor& interceptor)
      : outcome_(std::move(outcome)), owner_(std::move(owner)), interceptor_(&interceptor) {}
  Awaited(Awaited&& other) noexcept
      : outcome_(std::exchange(other.outcome_, std::nullopt)),
        owner_(std::move(other.owner_)),
        interceptor_(other.interceptor_) {}
  Awaited& operator=(Awaited&&) = delete;
  ~Awaited() {
    if (!outcome_) return;
    requiringMemory("a request without a response cannot be ended", [this] {
      outcome_->markCompletion(Response(HTTPInterceptorError::noResponse(platform::typeName(typeid(*interceptor_)))));
    });
  }

  void operator()(const velisand::Result<Response>& result) {
    const auto outcome = std::exchange(outcome_, std::nullopt);
    if (outcome) outcome->markCompletion(result.error() ? Response(*result.error()) : *result.value());
  }

 private:
  std::optional<Outcome> outcome_;
  /// Keeps the interceptor.
  std::shared_ptr<const HTTPClientConfiguration> owner_;
  const HTTPInterceptor* interceptor_;
};

/// Cancels the future of an interceptor with the one that waits for it. Does not keep either.
struct Cancellation {
  void wasStopped() noexcept {
    if (const auto state = awaited.lock()) state->cancel();
  }

  std::weak_ptr<velisand::detail::AnyFutureState> awaited;
  velisand::detail::WeakStop<Cancellation> stopping;
};

/// An outcome that is there already came from a stop.
void cancelWith(const Outcome& outcome, const Outcome& awaited) {
  const auto link = std::make_shared<Cancellation>();
  link->awaited = FutureAccess::stateOf(awaited);
  FutureAccess::stateOf(outcome)->whenEnded([link] {});
  link->stopping.watch(outcome.stopToken(), link);
  if (outcome.isCompleted()) awaited.cancel();
}

}  // namespace

InterceptedKind::~InterceptedKind() = default;

void InterceptedKind::conclude(const std::shared_ptr<SendExchange>& exchange, HTTPInterceptedResponse response) {
  processTaskCompletion(exchange, InterceptedParts::outcome(std::move(response)));
}

Interception::Interception(Sending::Parts parts, std::unique_ptr<InterceptedKind> kind)
    : parts_(std::move(parts)), kind_(std::move(kind)), queue_(queueLabel) {}

void Interception::start(Sending::Parts parts, std::unique_ptr<InterceptedKind> kind) {
  const auto run = std::make_shared<Interception>(std::move(parts), std::move(kind));
  try {
    run->begin();
  } catch (...) {
    // A stop was faster: that is the outcome.
    if (!run->isOver_.exchange(true)) throw;
  }
}

void Interception::begin() {
  const auto self = shared_from_this();
  outcome_.whenCompleted(parts_.client.queue, [self](const velisand::Result<Response>& result) {
    self->finish(result.error() ? Response(*result.error()) : *result.value());
  });
  if (const auto uuid = parts_.exchange->uuid()) TaskManager::shared().insert([self] { self->wasStopped(); }, *uuid);
  stopping_.watch(parts_.exchange->bounds().stop, self);
  queue_.async([self] { self->pass(self->parts_.request, 0, self->outcome_); });
}

/// The exchange ends at once, whatever the interceptors make of it.
void Interception::wasStopped() noexcept {
  if (!stop_.request_stop()) return;
  requiringMemory("an intercepted request cannot be cancelled", [this] {
    parts_.client.queue.async([self = shared_from_this()] {
      self->finish(self->cancelled());
      self->outcome_.cancel();
      // Lets go of this, also where an interceptor keeps its future for ever.
      self->outcome_.markCompletion(self->cancelled());
    });
  });
}

void Interception::finish(Response response) {
  if (isOver_.exchange(true)) return;
  endSends();
  discardAllBut(InterceptedParts::body(response));
  try {
    kind_->conclude(parts_.exchange, std::move(response));
  } catch (...) {
    report(parts_.exchange, Error::current());
  }
}

void Interception::received(const std::shared_ptr<InterceptedBody>& body) {
  if (!body) return;
  if (isOver_) return body->discard();
  bodies_.push_back(body);
}

/// What nobody wants any more is gone when the request ends, whoever has copies of the responses.
void Interception::discardAllBut(const std::shared_ptr<InterceptedBody>& kept) {
  for (const auto& each : std::exchange(bodies_, {})) {
    if (const auto body = each.lock(); body && body != kept) body->discard();
  }
}

/// Those that are still waited for have lost: their outcomes are not used any more.
void Interception::endSends() {
  std::vector<std::weak_ptr<InterceptedSend>> exchanges;
  {
    const MutexLock lock(mutex_);
    exchanges.swap(exchanges_);
  }
  for (const auto& each : exchanges) {
    if (const auto exchange = each.lock()) exchange->endIfAwaited();
  }
}

/// Throws where the request has ended: an exchange that began now would not be noticed by `endSends`.
void Interception::note(const std::shared_ptr<InterceptedSend>& send) {
  const MutexLock lock(mutex_);
  if (isOver_) throw *cancelled().error;
  exchanges_.push_back(send);
}

Interception::Response Interception::cancelled() const {
  return Response(platform::NSError(platform::NSURLErrorDomain, platform::URLErrorCode::cancelled, "cancelled",
                                    {{platform::URLErrorKey::failingURL, parts_.request.url.absoluteString()},
                                     {platform::URLErrorKey::requestWasSent, sends_ > 0}}));
}

SendOptions Interception::options() const {
  const auto bounds = std::make_shared<const SendBounds>(parts_.exchange->bounds());
  SendOptions options = SendBounds::options(bounds, std::nullopt);
  options.stop = stop_.get_token();
  return options;
}

Interception::Outcome Interception::send(URLRequest request, HTTPInterceptorChain::Position& from) {
  Outcome outcome;
  if (++from.sends > HTTPInterceptor::maximumSends) {
    outcome.markCompletion(Response(HTTPInterceptorError::tooManySends(HTTPInterceptor::maximumSends)));
  } else {
    from.credentials.dropElsewhere(request);
    pass(std::move(request), from.next, outcome);
  }
  return outcome;
}

void Interception::pass(URLRequest request, std::size_t place, const Outcome& outcome) {
  if (stop_.stop_requested() || isOver_) {
    outcome.markCompletion(cancelled());
    return;
  }
  try {
    const bool isLast = place == parts_.client.configuration->interceptors.size();
    isLast ? goOut(std::move(request), outcome) : intercept(std::move(request), place, outcome);
  } catch (...) {
    outcome.markCompletion(Response(Error::current()));
  }
}

void Interception::intercept(URLRequest request, std::size_t place, const Outcome& outcome) {
  HTTPInterceptor& interceptor = *parts_.client.configuration->interceptors[place];
  Awaited passingOn(outcome, parts_.client.configuration, interceptor);
  try {
    const Outcome awaited = call(interceptor, std::move(request), place);
    cancelWith(outcome, awaited);
    auto* const state = FutureAccess::stateOf(awaited).get();  // lives until the block has run
    state->whenEnded([state, passingOn = std::move(passingOn)]() mutable { passingOn(state->result()); });
  } catch (...) {
    passingOn(velisand::Result<Response>::failure(Error::current()));
  }
}

/// On a queue of its own, where a coroutine resumes: the interceptor before it may block its queue until then.
Interception::Outcome Interception::call(HTTPInterceptor& interceptor, URLRequest request, std::size_t place) {
  const HTTPInterceptorChain chain(std::make_shared<HTTPInterceptorChain::Position>(
      shared_from_this(), place + 1, AddedCredentials(parts_.request, request)));
  const auto intercepting = [&] { return interceptor.intercept(std::move(request), chain); };
  return place == 0 ? intercepting() : DispatchQueue(queueLabel).sync(intercepting);
}

void Interception::goOut(URLRequest request, const Outcome& outcome) {
  parts_.access.enter(request);
  const int sendsBefore = sends_.fetch_add(1);
  request.isRepetition = parts_.request.isRepetition || sendsBefore > 0;
  if (sendsBefore >= HTTPInterceptor::maximumSends)
    throw HTTPInterceptorError::tooManySends(HTTPInterceptor::maximumSends);
  Sending::Parts parts = parts_;
  parts.receiver =
      std::make_shared<InterceptedSend>(shared_from_this(), outcome, std::make_shared<const URLRequest>(request));
  note(parts.receiver);
  parts.receiver->follow(stop_.get_token());
  parts.request = std::move(request);
  kind_->begin(std::move(parts));
}

}  // namespace corvane::detail
