#include "Platform/Loading/Internal/TaskCore.hpp"

#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Loading/Internal/FileLoad.hpp"
#include "Platform/Loading/Internal/RedirectPolicy.hpp"
#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

std::uint64_t nextIdentifier() {
  static std::atomic<std::uint64_t> last = 0;
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

Error cancelledError(const URL& url) {
  return NSError(NSURLErrorDomain, URLErrorCode::cancelled, "cancelled",
                 {{URLErrorKey::failingURL, url.absoluteString()}});
}

TaskCore::TaskCore(std::shared_ptr<URLSession> session, std::shared_ptr<SessionCore> core, URLRequest request,
                   URLSession::DataCompletion completion, bool isStillborn)
    : session_(std::move(session)),
      core_(std::move(core)),
      originalRequest_(std::move(request)),
      identifier_(nextIdentifier()),
      isStillborn_(isStillborn),
      completion_(std::move(completion)) {}

void TaskCore::resume() {
  auto expected = URLSessionTask::State::suspended;
  if (!state_.compare_exchange_strong(expected, URLSessionTask::State::running)) return;
  core_->loop().post([self = shared_from_this()] { self->start(); });
}

void TaskCore::cancel() {
  auto state = state_.load();
  do {
    if (state == URLSessionTask::State::canceling || state == URLSessionTask::State::completed) return;
  } while (!state_.compare_exchange_weak(state, URLSessionTask::State::canceling));
  core_->loop().post([self = shared_from_this()] { self->cancelNow(); });
}

void TaskCore::start() {
  core_->begin(shared_from_this());
  if (isStillborn_ || !core_->acceptsTasks() || state() == URLSessionTask::State::canceling) {
    finish(cancelledError(originalRequest_.url));
    return;
  }
  if (std::string problem = originalRequest_.problem(); !problem.empty()) {
    finish(NSError(NSURLErrorDomain, URLErrorCode::badURL, std::move(problem),
                   {{URLErrorKey::failingURL, originalRequest_.url.absoluteString()}}));
    return;
  }
  if (originalRequest_.cachePolicy == URLRequestCachePolicy::returnCacheDataDontLoad) {
    finish(transportError(URLErrorCode::cannotLoadFromNetwork, "there is no cache to answer from", originalRequest_.url,
                          false));
    return;
  }
  const std::string scheme = originalRequest_.url.scheme().value_or("");
  if (scheme == "http" || scheme == "https") {
    send();
  } else if (scheme == "file") {
    loadFile();
  } else {
    finish(transportError(URLErrorCode::unsupportedURL,
                          "only http, https and file URLs can be loaded, not \"" + scheme + "\"", originalRequest_.url,
                          false));
  }
}

void TaskCore::send() {
  nextRequest_.reset();
  core_->pool().submit(*this);
}

void TaskCore::loadFile() {
  DispatchQueue::global().async([self = shared_from_this()] {
    auto loaded = std::make_shared<FileLoad>(self->originalRequest_.url, self->core_->configuration().maximumBodyBytes);
    self->core_->loop().post([self, loaded] {
      self->finish(std::move(loaded->data), std::move(loaded->response), std::move(loaded->error));
    });
  });
}

bool TaskCore::wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) {
  // Of several Location fields the first counts: joined with a comma they would name a place nobody meant.
  const std::vector<std::string> locations = response->allHeaderFields().values("Location");
  std::optional<std::string_view> location;
  if (!locations.empty()) location = locations.front();
  RedirectDecision decision = decideRedirect(requestToSend(), response->statusCode(), location, redirects_);
  if (auto* next = std::get_if<URLRequest>(&decision)) nextRequest_ = std::move(*next);
  if (auto* failure = std::get_if<LoadFailure>(&decision)) {
    redirectFailure_ = transportError(failure->code, std::move(failure->message), requestToSend().url, true);
  }
  return !nextRequest_ && !redirectFailure_;
}

void TaskCore::exchangeEnded(ExchangeOutcome outcome) {
  if (state() == URLSessionTask::State::canceling) {
    finish(cancelledError(requestToSend().url));
  } else if (redirectFailure_) {
    finish(std::nullopt, std::move(outcome.response), std::move(redirectFailure_));
  } else if (nextRequest_) {
    // Where it leads is known, so a body that was cut off does not matter.
    ++redirects_;
    currentRequest_ = std::move(nextRequest_);
    send();
  } else if (outcome.lacksConnectivity && core_->configuration().waitsForConnectivity) {
    waitsForConnectivity_ = true;
    core_->awaitConnectivity(shared_from_this());
  } else if (outcome.error) {
    std::optional<Data> received;
    if (outcome.response) received = std::move(outcome.body);
    finish(std::move(received), std::move(outcome.response), std::move(outcome.error));
  } else {
    finish(std::move(outcome.body), std::move(outcome.response), std::nullopt);
  }
}

void TaskCore::retryConnecting() {
  if (!std::exchange(waitsForConnectivity_, false) || state() != URLSessionTask::State::running) return;
  send();
}

void TaskCore::cancelNow() {
  if (state() == URLSessionTask::State::completed) return;
  core_->begin(shared_from_this());
  if (exchange || isWaiting()) core_->pool().withdraw(*this);
  finish(cancelledError(requestToSend().url));
}

void TaskCore::finish(std::optional<Data> data, std::shared_ptr<const URLResponse> response,
                      std::optional<Error> error) {
  if (state_.exchange(URLSessionTask::State::completed) == URLSessionTask::State::completed) return;
  waitsForConnectivity_ = false;
  data_ = std::move(data);
  response_ = std::move(response);
  error_ = std::move(error);
  core_->loop().deliver(core_->delegateQueue(), [self = shared_from_this()] { self->complete(); });
  core_->end(shared_from_this());
}

/// On the delegate queue.
void TaskCore::complete() {
  // Dropped here, with all that it keeps alive, and not when the task's last handle goes.
  const auto session = std::exchange(session_, nullptr);
  URLSession::DataCompletion completion = std::exchange(completion_, nullptr);
  if (completion)
    completion(std::exchange(data_, std::nullopt), std::move(response_), std::exchange(error_, std::nullopt));
}

}  // namespace platform::detail
