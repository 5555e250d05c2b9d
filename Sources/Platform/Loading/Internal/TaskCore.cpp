#include "Platform/Loading/Internal/TaskCore.hpp"

#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Foundation/Internal/UserInformation.hpp"
#include "Platform/Loading/Internal/BodyLimit.hpp"
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

Error cancelledError(const URL& url, bool requestWasSent) {
  return NSError(NSURLErrorDomain, URLErrorCode::cancelled, "cancelled",
                 {{URLErrorKey::failingURL, url.absoluteString()}, {URLErrorKey::requestWasSent, requestWasSent}});
}

Error turnedAwayError(const URL& url) {
  return NSError(NSURLErrorDomain, URLErrorCode::cancelled, "the session was closed before the request was sent",
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
      isStream_(plan.isStream()),
      meter_(!plan.isUpload),
      plan_(std::move(plan)),
      download_(std::move(plan_.receiver)) {}

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

std::shared_ptr<const TaskMetrics> TaskCore::metrics() const {
  return hasMetrics_.load(std::memory_order_acquire) ? metrics_ : nullptr;
}

void TaskCore::fail(Error error) noexcept {
  if (load) core_->loader().withdraw(*this);
  finish(std::move(error));
}

void TaskCore::start() {
  // A cancellation may have overtaken this on its way to the loop.
  if (state() == URLSessionTask::State::completed) return;
  core_->begin(shared_from_this());
  metricsRecord.begin(core_->loop().now());
  if (state() == URLSessionTask::State::canceling) {
    finish(cancelledError(originalRequest_.url, false));
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
  if (originalRequest_.httpBodyStream) {
    if (originalRequest_.httpBodyStream->isExhausted()) {
      finish({URLErrorCode::requestBodyStreamExhausted, exhaustedBodyMessage}, false);
      return;
    }
    producedBody_ = std::make_shared<ProducedBody>(core_->loop(), originalRequest_.httpBodyStream);
  }
  if (isUpload_) meter_.expect(bodyLength().value_or(Progress::unknownCount));
  if (std::string problem = this->problem(); !problem.empty()) {
    finish(NSError(NSURLErrorDomain, URLErrorCode::badURL, std::move(problem),
                   {{URLErrorKey::failingURL, originalRequest_.url.absoluteString()}}));
    return;
  }
  const std::string scheme = lowercased(originalRequest_.url.scheme().value_or(""));
  const bool isHTTP = scheme == "http" || scheme == "https";
  if (originalRequest_.cachePolicy == URLRequestCachePolicy::returnCacheDataDontLoad && !(isHTTP && usesCache())) {
    finish(notStoredError(originalRequest_.url));
    return;
  }
  if (isHTTP) {
    if (core_->configuration().observer) observe();
    download_ ? beginDownload() : send();
  } else if (scheme == "file" && !isStream_) {
    loadFile();
  } else {
    finish(transportError(URLErrorCode::unsupportedURL,
                          "only http, https and file URLs can be loaded, not \"" + scheme + "\"", originalRequest_.url,
                          false));
  }
}

void TaskCore::observe() {
  auto observer = core_->configuration().observer->observerOf(*this);
  if (!observer) return;
  submit(core_->delegateQueue(), [self = shared_from_this(), observer] { observer->taskStarted(*self); });
  observer_ = std::move(observer);
}

std::optional<LoadFailure> TaskCore::openBodyFile() {
  if (!plan_.bodyFile) return std::nullopt;
  bodyFile_ = std::make_unique<UploadFile>();
  sendsFile_ = true;
  return bodyFile_->open(*plan_.bodyFile);
}

/// Absent where it is not known beforehand.
std::optional<std::int64_t> TaskCore::bodyLength() const {
  if (sendsFile_) return bodyFile_->size();
  if (!producedBody_) return static_cast<std::int64_t>(originalRequest_.httpBody.value_or(Data()).count());
  const auto length = producedBody_->length();
  return length ? std::optional(static_cast<std::int64_t>(*length)) : std::nullopt;
}

std::string TaskCore::problem() const {
  return sendsFile_ ? originalRequest_.problem(static_cast<std::size_t>(bodyFile_->size()))
                    : originalRequest_.problem();
}

/// What a redirect asks for, or the same once more.
void TaskCore::sendNext(std::shared_ptr<const URLResponse> response) {
  currentRequest_ = std::move(nextRequest_);
  ProducedBody* const body = producedBody();
  if (body == nullptr || body->rewind()) return send();
  finish(std::nullopt, std::move(response),
         transportError(URLErrorCode::requestBodyStreamExhausted,
                        "the response asks for the body of the request once more, at " +
                            withoutUserInformation(requestToSend().url.absoluteString()) +
                            ", and its producer cannot be rewound",
                        originalRequest_.url, hasSent));
}

void TaskCore::send() {
  nextRequest_.reset();
  core_->loader().submit(*this);
}

bool TaskCore::wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) {
  if (observer_) {
    submit(core_->delegateQueue(),
           [self = shared_from_this(), response] { self->observer_->taskReceived(*self, response); });
  }
  if (response->statusCode() == 417 && requestToSend().allHTTPHeaderFields.contains("Expect")) {
    // It is only the expectation that the server does not know (RFC 9110, 10.1.1).
    nextRequest_ = std::make_unique<URLRequest>(requestToSend());
    nextRequest_->allHTTPHeaderFields.remove("Expect");
    return false;
  }
  // One that is proposed is kept in memory until it is decided about.
  if (considersRedirect(*response)) return isProposal_;
  if (isStream_) head_ = response;
  return !download_ || wantsDownload(*response);
}

void TaskCore::loadEnded(LoadOutcome outcome) noexcept {
  take([&] { goOn(std::move(outcome)); });
}

void TaskCore::goOn(LoadOutcome outcome) {
  if (state() == URLSessionTask::State::canceling) {
    finish(cancelledError(requestToSend().url, outcome.requestWasSent));
  } else if (headFailure_) {
    finish(std::nullopt, std::move(outcome.response), std::move(*headFailure_));
  } else if (std::exchange(isProposal_, false)) {
    propose(std::move(outcome));
  } else if (nextRequest_) {
    // Where it leads is known, so a body that was cut off does not matter.
    if (std::exchange(isRedirect_, false)) {
      follow(*outcome.response);
    } else {
      ++redirects_;
      const bool isRefusal = outcome.response && outcome.response->statusCode() == 417;
      metricsRecord.setCause(isRefusal ? TransactionMetrics::Cause::expectationRefused
                                       : TransactionMetrics::Cause::downloadRestarted);
    }
    sendNext(std::move(outcome.response));
  } else if (outcome.lacksConnectivity && core_->configuration().waitsForConnectivity) {
    waitsForConnectivity_ = true;
    core_->awaitConnectivity(shared_from_this());
  } else if (isComplete_) {
    conclude({.response = asComplete(*outcome.response), .body = {}, .error = {}});
  } else {
    conclude(std::move(outcome));
  }
}

void TaskCore::conclude(LoadOutcome outcome) {
  if (download_) {
    if (!outcome.error) outcome.error = completeDownload();
    finish(std::nullopt, std::move(outcome.response), std::move(outcome.error));
    return;
  }
  if (isStream_ && !pipe_ && !outcome.error) {  // there was no body
    openStream(nullptr);
  }
  std::optional<Data> received;
  if (!outcome.error || outcome.response) received = std::move(outcome.body);
  finish(std::move(received), std::move(outcome.response), std::move(outcome.error));
}

std::variant<BodySink*, LoadFailure> TaskCore::bodySink() {
  if (isProposal_) return nullptr;
  if (isStream_) {
    auto choice = ContentDecoder::make(
        requestToSend().allHTTPHeaderFields, head_->allHeaderFields(),
        {.maximumBytes = bodyLimit(requestToSend(), core_->configuration(), true), .limitsExpansion = false});
    if (choice.failure) return std::move(*choice.failure);
    openStream(std::move(choice.decoder));
    return pipe_.get();
  }
  if (!download_) return nullptr;
  return download_->sink();
}

void TaskCore::bodyAnnounced(std::int64_t count) {
  if (!isUpload_ && !isProposal_) meter_.expect(download_ ? download_->bytesInAll(count) : count);
}

void TaskCore::bodySent(std::int64_t completed) {
  if (isUpload_) count(completed);
}

void TaskCore::bodyReceived(std::int64_t completed) {
  if (!isUpload_ && !isProposal_) count(download_ ? download_->bytesThere(completed) : completed);
}

void TaskCore::count(std::int64_t completed) {
  if (meter_.count(completed, core_->loop().now())) core_->loader().scheduleReport(meter_);
}

void TaskCore::retryConnecting() noexcept {
  if (!std::exchange(waitsForConnectivity_, false) || state() != URLSessionTask::State::running) return;
  metricsRecord.setCause(TransactionMetrics::Cause::networkChanged);
  proxyChallenges = 0;  // the proxy may be another one
  take([this] { send(); });
}

void TaskCore::cancelNow() noexcept {
  if (state() == URLSessionTask::State::completed) return;
  take([this] {
    core_->begin(shared_from_this());
    if (!metricsRecord.hasBegun()) metricsRecord.begin(core_->loop().now());
    if (load) core_->loader().withdraw(*this);
    finish(cancelledError(requestToSend().url, hasSent));
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
  bodyFile_.reset();
  sendsFile_ = false;
  if (producedBody_) producedBody_->close();
  producedBody_.reset();
  if (download_) download_->end();
  data_ = std::move(data);
  response_ = std::move(response);
  error_ = std::move(error);
  metrics_ = metricsRecord.take(core_->loop().now());
  hasMetrics_.store(true, std::memory_order_release);
  if (isStream_) finishStream();
  core_->loop().deliver(core_->delegateQueue(), [self = shared_from_this()] { self->complete(); });
  core_->end(shared_from_this());
}

void TaskCore::finish(const LoadFailure& failure, bool requestWasSent) {
  finish(transportError(failure.code, failure.message, originalRequest_.url, requestWasSent));
}

/// Hands out the head, and the body to come.
void TaskCore::openStream(std::unique_ptr<ContentDecoder> decoder) {
  const std::shared_ptr<BodyPipeOwner> owner(shared_from_this(), this);
  pipe_ = std::make_shared<BodyPipe>(owner, requestToSend().url, std::move(decoder));
  // From here on the consumer cancels the task when it lets go of the body, also where it is never called.
  auto body = std::make_shared<PipedBody>(pipe_);
  submit(core_->delegateQueue(), [self = shared_from_this(), body = std::move(body)]() mutable {
    auto completion = std::exchange(self->plan_.streamCompletion, nullptr);
    completion(std::move(body), std::exchange(self->head_, nullptr), std::nullopt);
  });
}

/// Where there is no memory for the domain's name, nobody waits for the rest either.
bool TaskCore::endedByCancellation() const noexcept {
  if (!error_ || error_->code() != URLErrorCode::cancelled) return false;
  try {
    return error_->domain() == NSURLErrorDomain;
  } catch (const std::bad_alloc&) {
    return true;
  }
}

/// Of a stream whose head was handed out, the body tells the end.
void TaskCore::finishStream() noexcept {
  const auto pipe = std::exchange(pipe_, nullptr);
  if (!pipe) return;
  endedByCancellation() ? pipe->drop(*error_) : pipe->finish(error_);
}

void TaskCore::setReading(bool isWanted) {
  if (load) load->setReading(isWanted);
}

void TaskCore::submit(const DispatchQueue& queue, Block block) { core_->loop().deliver(queue, std::move(block)); }

void TaskCore::post(Block block) { core_->loop().post(std::move(block)); }

/// On the delegate queue.
void TaskCore::complete() {
  // Dropped here, with all that it keeps alive, and not when the task's last handle goes.
  const auto session = std::exchange(session_, nullptr);
  if (observer_) std::exchange(observer_, nullptr)->taskEnded(*this, error_);
  TaskPlan plan = std::exchange(plan_, TaskPlan());
  if (plan.downloadCompletion) {
    const auto file = std::exchange(file_, nullptr);
    plan.downloadCompletion(file ? std::optional(std::move(*file)) : std::nullopt, std::move(response_),
                            std::exchange(error_, std::nullopt));
  } else if (plan.streamCompletion) {
    plan.streamCompletion(nullptr, std::move(response_), std::exchange(error_, std::nullopt));
  } else if (plan.dataCompletion) {
    plan.dataCompletion(std::exchange(data_, std::nullopt), std::move(response_), std::exchange(error_, std::nullopt));
  }
}

}  // namespace platform::detail
