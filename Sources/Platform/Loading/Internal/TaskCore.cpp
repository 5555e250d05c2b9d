#include "Platform/Loading/Internal/TaskCore.hpp"

#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Loading/Internal/BodyLimit.hpp"
#include "Platform/Loading/Internal/FileLoad.hpp"
#include "Platform/Loading/Internal/RedirectPolicy.hpp"
#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

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

Error turnedAwayError(const URL& url) {
  return NSError(NSURLErrorDomain, URLErrorCode::cancelled, "the session is closed",
                 {{URLErrorKey::failingURL, url.absoluteString()}, {URLErrorKey::sessionWasClosed, true}});
}

TaskCore::TaskCore(std::shared_ptr<URLSession> session, std::shared_ptr<SessionCore> core, URLRequest request,
                   TaskPlan plan, bool isStillborn)
    : session_(std::move(session)),
      core_(std::move(core)),
      originalRequest_(std::move(request)),
      identifier_(nextIdentifier()),
      isStillborn_(isStillborn),
      isUpload_(plan.isUpload),
      isDownload_(plan.isDownload()),
      meter_(!plan.isUpload),
      plan_(std::move(plan)) {}

void TaskCore::resume() {
  auto expected = URLSessionTask::State::suspended;
  if (!state_.compare_exchange_strong(expected, URLSessionTask::State::running)) return;
  try {
    core_->loop().post([self = shared_from_this()] { self->take([&] { self->start(); }); });
  } catch (...) {
    // Whoever resumes it knows by the exception; a cancellation has nothing to end any more.
    state_.store(URLSessionTask::State::completed);
    throw;
  }
}

void TaskCore::cancel() {
  auto state = state_.load();
  do {
    if (state == URLSessionTask::State::canceling || state == URLSessionTask::State::completed) return;
  } while (!state_.compare_exchange_weak(state, URLSessionTask::State::canceling));
  requiringMemory("a task cannot be cancelled",
                  [this] { core_->loop().post([self = shared_from_this()] { self->cancelNow(); }); });
}

template <class Step>
void TaskCore::take(Step step) noexcept {
  try {
    step();
  } catch (...) {
    const Error error = Error::current();
    if (load) core_->loader().withdraw(*this);
    finish(error);
  }
}

void TaskCore::start() {
  // A cancellation may have overtaken this on its way to the loop.
  if (state() == URLSessionTask::State::completed) return;
  core_->begin(shared_from_this());
  if (state() == URLSessionTask::State::canceling) {
    finish(cancelledError(originalRequest_.url));
    return;
  }
  if (isStillborn_ || !core_->acceptsTasks()) {
    finish(turnedAwayError(originalRequest_.url));
    return;
  }
  if (isUpload_ && originalRequest_.url.isFileURL()) {
    finish({URLErrorCode::unsupportedURL, "nothing can be sent to a file URL"}, false);
    return;
  }
  if (const auto failure = openBodyFile()) {
    finish(*failure, false);
    return;
  }
  const auto ownBody = originalRequest_.httpBody ? std::optional(originalRequest_.httpBody->count()) : std::nullopt;
  const auto bodyLength = sendsFile_ ? std::optional(static_cast<std::size_t>(bodyFile_.size())) : ownBody;
  if (isUpload_) meter_.expect(static_cast<std::int64_t>(bodyLength.value_or(0)));
  if (std::string problem = originalRequest_.problem(bodyLength); !problem.empty()) {
    finish(NSError(NSURLErrorDomain, URLErrorCode::badURL, std::move(problem),
                   {{URLErrorKey::failingURL, originalRequest_.url.absoluteString()}}));
    return;
  }
  if (originalRequest_.cachePolicy == URLRequestCachePolicy::returnCacheDataDontLoad) {
    finish(transportError(URLErrorCode::cannotLoadFromNetwork, "there is no cache to answer from", originalRequest_.url,
                          false));
    return;
  }
  const std::string scheme = lowercased(originalRequest_.url.scheme().value_or(""));
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

std::optional<LoadFailure> TaskCore::openBodyFile() {
  if (!plan_.bodyFile) return std::nullopt;
  sendsFile_ = true;
  return bodyFile_.open(*plan_.bodyFile);
}

void TaskCore::send() {
  nextRequest_.reset();
  core_->loader().submit(*this);
}

void TaskCore::loadFile() {
  DispatchQueue::global().async([self = shared_from_this()] {
    std::shared_ptr<FileLoad> loaded;
    std::optional<Error> failure;
    try {
      loaded = std::make_shared<FileLoad>(self->loadedFile());
    } catch (...) {
      failure = Error::current();
    }
    self->core_->loop().post([self, loaded, failure = std::move(failure)] {
      self->take([&] { failure ? self->finish(*failure) : self->finish(*loaded); });
    });
  });
}

FileLoad TaskCore::loadedFile() const {
  const URL& url = originalRequest_.url;
  const std::int64_t limit = bodyLimit(originalRequest_, core_->configuration(), isDownload_);
  if (!isDownload_) return FileLoad::intoMemory(url, limit);
  return FileLoad::intoFile(url, limit, [this] { return state() == URLSessionTask::State::running; });
}

void TaskCore::finish(FileLoad& loaded) {
  if (state() != URLSessionTask::State::running) return;  // cancelled: what there is may be a part only
  if (loaded.response) {
    bodyAnnounced(loaded.response->expectedContentLength());
    bodyReceived(loaded.response->expectedContentLength());
  }
  if (isDownload_ && !loaded.error) file_ = std::move(loaded.file);
  finish(std::move(loaded.data), std::move(loaded.response), std::move(loaded.error));
}

bool TaskCore::wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) {
  // Of several Location fields the first counts: joined with a comma they would name a place nobody meant.
  const std::vector<std::string> locations = response->allHeaderFields().values("Location");
  std::optional<std::string_view> location;
  if (!locations.empty()) location = locations.front();
  if (response->statusCode() == 417 && requestToSend().allHTTPHeaderFields.contains("Expect")) {
    // It is only the expectation that the server does not know (RFC 9110, 10.1.1).
    nextRequest_ = requestToSend();
    nextRequest_->allHTTPHeaderFields.remove("Expect");
    return false;
  }
  RedirectDecision decision = decideRedirect(requestToSend(), response->statusCode(), location, redirects_);
  if (auto* next = std::get_if<URLRequest>(&decision)) {
    if (becomesGet(response->statusCode(), requestToSend().httpMethod)) sendsFile_ = false;
    nextRequest_ = std::move(*next);
  }
  if (auto* failure = std::get_if<LoadFailure>(&decision)) {
    redirectFailure_ = transportError(failure->code, std::move(failure->message), requestToSend().url, true);
  }
  return !nextRequest_ && !redirectFailure_;
}

void TaskCore::loadEnded(LoadOutcome outcome) noexcept {
  take([&] { goOn(std::move(outcome)); });
}

void TaskCore::goOn(LoadOutcome outcome) {
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
  } else {
    conclude(std::move(outcome));
  }
}

void TaskCore::conclude(LoadOutcome outcome) {
  if (isDownload_) {
    if (!outcome.error) {
      if (const auto failure = completeDownload())
        outcome.error = transportError(failure->code, failure->message, requestToSend().url, true);
    }
    finish(std::nullopt, std::move(outcome.response), std::move(outcome.error));
    return;
  }
  std::optional<Data> received;
  if (!outcome.error || outcome.response) received = std::move(outcome.body);
  finish(std::move(received), std::move(outcome.response), std::move(outcome.error));
}

std::optional<LoadFailure> TaskCore::completeDownload() {
  if (!download_.isOpen()) {  // there was no body
    if (auto failure = download_.open()) return failure;
  }
  if (auto failure = download_.finish()) return failure;
  file_ = download_.release();
  return std::nullopt;
}

std::variant<BodySink*, LoadFailure> TaskCore::bodySink() {
  if (!isDownload_) return nullptr;
  if (auto failure = download_.open()) return std::move(*failure);
  return &download_;
}

void TaskCore::bodyAnnounced(std::int64_t count) {
  if (!isUpload_) meter_.expect(count);
}

void TaskCore::bodySent(std::int64_t completed) {
  if (isUpload_) count(completed);
}

void TaskCore::bodyReceived(std::int64_t completed) {
  if (!isUpload_) count(completed);
}

void TaskCore::count(std::int64_t completed) {
  if (meter_.count(completed, core_->loop().now())) core_->loader().scheduleReport(meter_);
}

void TaskCore::retryConnecting() noexcept {
  if (!std::exchange(waitsForConnectivity_, false) || state() != URLSessionTask::State::running) return;
  take([this] { send(); });
}

void TaskCore::cancelNow() noexcept {
  if (state() == URLSessionTask::State::completed) return;
  take([this] {
    core_->begin(shared_from_this());
    if (load) core_->loader().withdraw(*this);
    finish(cancelledError(requestToSend().url));
  });
}

void TaskCore::finish(std::optional<Data> data, std::shared_ptr<const URLResponse> response,
                      std::optional<Error> error) noexcept {
  if (state_.exchange(URLSessionTask::State::completed) == URLSessionTask::State::completed) return;
  waitsForConnectivity_ = false;
  if (meter_.isArmed()) core_->loader().cancelReport(meter_);
  if (!error) {
    try {
      meter_.finish();
    } catch (const std::bad_alloc&) {
      error = Error::outOfMemory();
      data.reset();
      file_.reset();
    }
  }
  bodyFile_ = UploadFile();
  download_ = DownloadFile();
  data_ = std::move(data);
  response_ = std::move(response);
  error_ = std::move(error);
  core_->loop().deliver(core_->delegateQueue(), [self = shared_from_this()] { self->complete(); });
  core_->end(shared_from_this());
}

void TaskCore::finish(const LoadFailure& failure, bool requestWasSent) {
  finish(transportError(failure.code, failure.message, originalRequest_.url, requestWasSent));
}

/// On the delegate queue.
void TaskCore::complete() {
  // Dropped here, with all that it keeps alive, and not when the task's last handle goes.
  const auto session = std::exchange(session_, nullptr);
  TaskPlan plan = std::exchange(plan_, TaskPlan());
  if (plan.downloadCompletion) {
    plan.downloadCompletion(std::exchange(file_, std::nullopt), std::move(response_),
                            std::exchange(error_, std::nullopt));
  } else if (plan.dataCompletion) {
    plan.dataCompletion(std::exchange(data_, std::nullopt), std::move(response_), std::exchange(error_, std::nullopt));
  }
}

}  // namespace platform::detail
