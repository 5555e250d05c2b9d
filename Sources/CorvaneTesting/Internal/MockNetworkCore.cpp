#include "CorvaneTesting/Internal/MockNetworkCore.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "CorvaneTesting/Internal/NetworkResponseAccess.hpp"

namespace corvane::testkit::detail {

using platform::Data;
using platform::Error;
using platform::detail::FromNetwork;
using platform::detail::MutexLock;
using platform::detail::SourceDecision;

namespace {

SentRequest seen(const platform::detail::SourcedRequest& request, Data body) {
  SentRequest sent{
      .method = request.method, .url = request.url.absoluteURL(), .headers = request.fields, .body = std::move(body)};
  if (request.type) sent.type = request.type;
  return sent;
}

Error endedError(const std::string& request) {
  return {"Corvane.MockNetwork", 1, "the MockNetwork ended before it responded to " + request};
}

/// A request that a route was for must not get to the real server. All others go on: they belong to other tests.
SourceDecision decisionAtTheEnd(const SentRequest& request,
                                const std::vector<std::shared_ptr<ResponseSource>>& sources) {
  const bool wasForARoute =
      std::any_of(sources.begin(), sources.end(), [&](const auto& source) { return source->mightTake(request); });
  return wasForARoute ? SourceDecision(endedError(request.description())) : SourceDecision(FromNetwork{});
}

}  // namespace

/// Carries the chosen response until the request has been sent.
class MockNetworkCore::Responder final : public platform::detail::ExchangeResponder {
 public:
  Responder(std::shared_ptr<MockNetworkCore> core, std::shared_ptr<const SourcedRequest> request,
            std::shared_ptr<ResponseSource> source, RouteResponse response)
      : core_(std::move(core)),
        request_(std::move(request)),
        source_(std::move(source)),
        response_(std::make_shared<const RouteResponse>(std::move(response))) {}

  void requestSent(Data body, Respond respond) override {
    core_->queue_.async([core = core_, request = request_, source = source_, response = response_,
                         body = std::move(body), respond = std::move(respond)]() mutable {
      core->respond(seen(*request, std::move(body)), *source, *response, std::move(respond));
    });
  }

 private:
  const std::shared_ptr<MockNetworkCore> core_;
  const std::shared_ptr<const SourcedRequest> request_;
  const std::shared_ptr<ResponseSource> source_;
  const std::shared_ptr<const RouteResponse> response_;
};

void MockNetworkCore::add(std::shared_ptr<ResponseSource> source) {
  const MutexLock lock(mutex_);
  sources_.insert(sources_.begin(), std::move(source));
}

void MockNetworkCore::record(std::shared_ptr<Recorder> recorder) {
  const MutexLock lock(mutex_);
  recorder_ = std::move(recorder);
}

std::shared_ptr<Recorder> MockNetworkCore::recorder() const {
  const MutexLock lock(mutex_);
  return recorder_;
}

std::vector<SentRequest> MockNetworkCore::requests() const {
  const MutexLock lock(mutex_);
  return requests_;
}

std::vector<SentRequest> MockNetworkCore::unmatchedRequests() const {
  const MutexLock lock(mutex_);
  return unmatched_;
}

bool MockNetworkCore::waitForRequests(std::size_t count, Time limit) const {
  const MutexLock lock(mutex_);
  return changed_.waitUntil(mutex_, limit, [&]() CORVANE_REQUIRES(mutex_) { return requests_.size() >= count; });
}

std::vector<std::shared_ptr<ResponseSource>> MockNetworkCore::sources() const {
  const MutexLock lock(mutex_);
  return sources_;
}

void MockNetworkCore::ask(std::shared_ptr<const SourcedRequest> request, Decide decide) {
  queue_.async([self = shared_from_this(), request = std::move(request), decide = std::move(decide)]() mutable {
    self->choose(request, decide);
  });
}

void MockNetworkCore::choose(const std::shared_ptr<const SourcedRequest>& request, Decide& decide) {
  const SentRequest sent = seen(*request, request->body);
  const auto sources = this->sources();
  if (isClosed_) return decide(decisionAtTheEnd(sent, sources));
  try {
    for (const auto& source : sources) {
      std::optional<RouteResponse> response = source->take(sent);
      if (!response) continue;
      const auto* fixed = std::get_if<NetworkResponse>(&*response);
      auto failure = fixed ? NetworkResponseAccess::failureBeforeSending(*fixed) : std::nullopt;
      if (!failure) return decide(std::make_shared<Responder>(shared_from_this(), request, source, *response));
      note(sent, *source);
      double seconds = NetworkResponseAccess::delay(*fixed);
      if (seconds > request->secondsToConnect) {
        seconds = request->secondsToConnect;
        failure = NetworkResponseAccess::connectTimeout();
      }
      return endAfter(seconds, sent.description(),
                      [decide = std::move(decide), failure = *failure](std::optional<Error> error) mutable {
                        decide(error ? SourceDecision(*error) : SourceDecision(failure));
                      });
    }
    noteUnmatched(sent);
    const auto recorder = this->recorder();
    decide(FromNetwork{recorder ? recorder->tap(*request) : nullptr});
  } catch (...) {
    decide(Error::current());
  }
}

void MockNetworkCore::respond(const SentRequest& request, ResponseSource& source, const RouteResponse& response,
                              Respond respond) {
  if (isClosed_) return respond(NetworkResponseAccess::failed(endedError(request.description())));
  note(request, source);
  try {
    const auto* const handler = std::get_if<MockRoute::Handler>(&response);
    const NetworkResponse made = handler ? (*handler)(request) : std::get<NetworkResponse>(response);
    endAfter(NetworkResponseAccess::delay(made), request.description(),
             [respond = std::move(respond), made](std::optional<Error> error) mutable {
               respond(error ? NetworkResponseAccess::failed(*error) : NetworkResponseAccess::sourced(made));
             });
  } catch (...) {
    respond(NetworkResponseAccess::failed(Error::current()));
  }
}

/// Before the response goes out, so that a test that has the response finds the request.
void MockNetworkCore::note(const SentRequest& request, ResponseSource& source) {
  source.responded(request);
  const MutexLock lock(mutex_);
  requests_.push_back(request);
  changed_.notifyAll();
}

void MockNetworkCore::noteUnmatched(const SentRequest& request) {
  const MutexLock lock(mutex_);
  unmatched_.push_back(request);
}

void MockNetworkCore::endAfter(double seconds, std::string request, End end) {
  if (!(seconds > 0)) return end(std::nullopt);
  pending_.push_back({.number = ++lastNumber_, .request = std::move(request), .end = std::move(end)});
  if (std::isinf(seconds)) return;
  queue_.asyncAfter(seconds, [weak = weak_from_this(), number = lastNumber_] {
    if (const auto self = weak.lock()) self->endNow(number);
  });
}

void MockNetworkCore::endNow(std::uint64_t number) {
  const auto found =
      std::find_if(pending_.begin(), pending_.end(), [&](const Pending& each) { return each.number == number; });
  if (found == pending_.end()) return;
  End end = std::move(found->end);
  pending_.erase(found);
  end(std::nullopt);
}

void MockNetworkCore::close() {
  queue_.isCurrent() ? closeNow() : queue_.sync([this] { closeNow(); });
}

void MockNetworkCore::closeNow() {
  isClosed_ = true;
  for (Pending& pending : std::exchange(pending_, {})) pending.end(endedError(pending.request));
}

}  // namespace corvane::testkit::detail
