#include "Corvane/Streaming/Detail/StreamPipeline.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "Corvane/Transport/Internal/InterceptedParts.hpp"
#include "Corvane/Transport/Internal/InterceptedSend.hpp"
#include "Corvane/Transport/Internal/Interception.hpp"
#include "Corvane/Transport/Internal/Sending.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane::detail {

using platform::Block;
using platform::Data;
using platform::DispatchQueue;
using platform::Error;
using platform::URLResponse;
using platform::URLResponseStream;
using platform::URLSession;
using platform::URLSessionTask;

namespace {

/// Of a body that says what is wrong, so much is kept.
constexpr std::size_t mostErrorBytes = std::size_t{64} * 1024;

/// What `check` throws for the outcome.
std::optional<Error> judged(const SendExchange& exchange, const TaskOutcome& outcome) {
  try {
    check(exchange, outcome);
    return std::nullopt;
  } catch (...) {
    return Error::current();
  }
}

class SendingOfStream final : public Sending {
 public:
  SendingOfStream(Parts parts, std::shared_ptr<StreamConsumer> consumer)
      : Sending(std::move(parts)), consumer_(std::move(consumer)) {}
  static void intercept(Parts parts, std::shared_ptr<StreamConsumer> consumer);

  /// The interceptors let the response of this task through, with this head. On the queue of the sessions.
  void accept(std::shared_ptr<const URLResponse> head, std::shared_ptr<URLResponseStream> body,
              std::shared_ptr<StreamConsumer> consumer);
  /// The error that the task's own becomes.
  Error mapped(const Error& error) const {
    return judged(exchange(), {.data = {}, .url = {}, .response = nullptr, .error = error}).value_or(error);
  }
  const SendBounds& bounds() const { return exchange().bounds(); }
  const DispatchQueue& queue() const { return *queue_; }
  /// The first time only. `own` is the task's error, `error` what became of it.
  void conclude(std::optional<Error> own, std::optional<Error> error);

 private:
  using Status = URLResponseStream::Status;
  class Source;

  std::shared_ptr<SendingOfStream> self() { return std::static_pointer_cast<SendingOfStream>(shared_from_this()); }
  std::shared_ptr<URLSessionTask> makeTask(URLSession& session) override;
  void headArrived(std::shared_ptr<URLResponseStream> body);
  void judge(std::shared_ptr<URLResponseStream> body);
  void accept(std::shared_ptr<URLResponseStream> body);
  void failed(Error error);
  void collectErrorBody();
  void endUnacceptable(std::optional<Error> own);
  void deliver(std::optional<Data> data, std::optional<Error> own, std::optional<Error> error);

  std::shared_ptr<StreamConsumer> consumer_;
  // From the head on.
  std::optional<DispatchQueue> queue_;
  std::shared_ptr<const URLResponse> response_;
  bool isConcluded_ = false;  ///< of the queue
  // Of an unacceptable response.
  std::optional<Error> judgement_;
  std::shared_ptr<URLResponseStream> errorBody_;
  Data errorBytes_;
};

/// The body of an acceptable response.
class SendingOfStream::Source final : public StreamSource {
 public:
  Source(std::shared_ptr<SendingOfStream> sending, std::shared_ptr<URLResponseStream> body)
      : sending_(std::move(sending)), bounds_(sending_->bounds()), body_(std::move(body)) {}
  ~Source() override {
    if (isConcluded_) return;
    platform::detail::requiringMemory("the end of a stream cannot be told",
                                      [this] { conclude(failed(cancelledError()).error); });
  }

  Step next() override {
    // A body that has arrived is not the task's any more, so the stop does not reach it there.
    if (bounds_.isStopped()) return failed(cancelledError());
    Step step = body_->next();
    return step.status == Status::failed ? failed(*step.error) : std::move(step);
  }
  void whenReady(std::optional<DispatchQueue> queue, Block block) override {
    body_->whenReady(queue ? *std::move(queue) : sending_->queue(), std::move(block));
  }
  void conclude(std::optional<Error> error) override {
    if (std::exchange(isConcluded_, true)) return;
    body_.reset();
    if (error && !own_) own_ = error;
    const auto& queue = sending_->queue();
    queue.async([sending = sending_, own = std::move(own_), error = std::move(error)]() mutable {
      sending->conclude(std::move(own), std::move(error));
    });
  }

 private:
  static Error cancelledError() {
    return platform::NSError(platform::NSURLErrorDomain, platform::URLErrorCode::cancelled, "cancelled");
  }
  Step failed(Error own) {
    own_ = std::move(own);
    return {.status = Status::failed, .piece = {}, .error = sending_->mapped(*own_)};
  }

  const std::shared_ptr<SendingOfStream> sending_;
  const SendBounds bounds_;
  std::shared_ptr<URLResponseStream> body_;
  std::optional<Error> own_;
  bool isConcluded_ = false;
};

std::shared_ptr<URLSessionTask> SendingOfStream::makeTask(URLSession& session) {
  return session.streamTask(
      request(), [self = self()](std::shared_ptr<URLResponseStream> body, std::shared_ptr<const URLResponse> response,
                                 std::optional<Error> error) {
        if (!body) {
          if (self->isOver(error)) self->process({std::nullopt, std::nullopt, std::move(response), std::move(error)});
          return;
        }
        self->response_ = std::move(response);
        self->headArrived(std::move(body));
      });
}

void SendingOfStream::accept(std::shared_ptr<const URLResponse> head, std::shared_ptr<URLResponseStream> body,
                             std::shared_ptr<StreamConsumer> consumer) {
  response_ = std::move(head);
  consumer_ = std::move(consumer);
  accept(std::move(body));
}

void SendingOfStream::accept(std::shared_ptr<URLResponseStream> body) {
  try {
    judge(std::move(body));
  } catch (...) {
    failed(Error::current());
  }
}

void SendingOfStream::judge(std::shared_ptr<URLResponseStream> body) {
  queue_ = DispatchQueue::current();
  judgement_ = judged(exchange(), {.data = {}, .url = {}, .response = response_, .error = {}});
  const auto consumer = std::exchange(consumer_, nullptr);
  if (!judgement_) {
    consumer->begin(response_, std::make_shared<Source>(self(), std::move(body)));
    return;
  }
  errorBody_ = std::move(body);
  collectErrorBody();
}

void SendingOfStream::collectErrorBody() {
  try {
    while (errorBytes_.count() < mostErrorBytes) {
      URLResponseStream::Step step = errorBody_->next();
      if (step.status == Status::pending) {
        errorBody_->whenReady(queue(), [self = self()] { self->collectErrorBody(); });
        return;
      }
      if (step.status != Status::piece) return endUnacceptable(std::move(step.error));
      errorBytes_.append(step.piece.span().first(std::min(step.piece.count(), mostErrorBytes - errorBytes_.count())));
    }
    endUnacceptable(std::nullopt);
  } catch (...) {
    endUnacceptable(Error::current());
  }
}

/// As in a send: that the body could not be read counts for more than what the head said.
void SendingOfStream::endUnacceptable(std::optional<Error> own) {
  errorBody_.reset();
  auto error = own ? mapped(*own) : *judgement_;
  isOver(std::nullopt);
  deliver(std::move(errorBytes_), std::move(own), std::move(error));
}

/// A consumer that could not begin may have had a source, which concludes when it is destroyed.
void SendingOfStream::failed(Error error) {
  isConcluded_ = true;
  isOver(std::nullopt);
  report(sharedExchange(), std::move(error));
}

void SendingOfStream::conclude(std::optional<Error> own, std::optional<Error> error) {
  if (std::exchange(isConcluded_, true)) return;
  isOver(std::nullopt);
  deliver(std::nullopt, std::move(own), std::move(error));
}

void SendingOfStream::deliver(std::optional<Data> data, std::optional<Error> own, std::optional<Error> error) {
  try {
    concludeExchange(
        sharedExchange(), {.data = {}, .url = {}, .response = response_, .error = std::move(own), .sent = sent()},
        {.data = std::move(data), .url = {}, .response = response_, .error = std::move(error), .metrics = metrics()});
  } catch (...) {
    report(sharedExchange(), Error::current());
  }
}

/// The body of a stream that interceptors have not let through yet.
class InterceptedStreamBody final : public InterceptedBody {
 public:
  InterceptedStreamBody(std::shared_ptr<SendingOfStream> from, std::shared_ptr<URLResponseStream> read)
      : sending(std::move(from)), body(std::move(read)) {}

  void discard() override {
    body.reset();
    sending.reset();
  }

  std::shared_ptr<SendingOfStream> sending;
  std::shared_ptr<URLResponseStream> body;
};

void SendingOfStream::headArrived(std::shared_ptr<URLResponseStream> body) {
  if (!receiver()) return accept(std::move(body));
  const auto head = response_;
  receiver()->receive(InterceptedParts::make(head, std::make_shared<InterceptedStreamBody>(self(), std::move(body))));
}

class InterceptedStream final : public InterceptedKind {
 public:
  explicit InterceptedStream(std::shared_ptr<StreamConsumer> consumer) : consumer_(std::move(consumer)) {}

  HTTPExchangeKind name() const override { return HTTPExchangeKind::stream; }
  void begin(Sending::Parts parts) override { std::make_shared<SendingOfStream>(std::move(parts), nullptr)->begin(); }
  void conclude(const std::shared_ptr<SendExchange>& exchange, HTTPInterceptedResponse response) override {
    const auto body = std::dynamic_pointer_cast<InterceptedStreamBody>(InterceptedParts::body(response));
    if (body && body->sending && !response.error && !response.data) {
      const auto sending = std::exchange(body->sending, nullptr);
      return sending->accept(response.response, std::exchange(body->body, nullptr), std::exchange(consumer_, nullptr));
    }
    InterceptedParts::discard(response);
    TaskOutcome outcome = InterceptedParts::outcome(std::move(response));
    if (!outcome.error && !judged(*exchange, outcome)) return beginFromMemory(exchange, std::move(outcome));
    if (outcome.data) outcome.data = outcome.data->subdata(0, std::min(outcome.data->count(), mostErrorBytes));
    processTaskCompletion(exchange, std::move(outcome));
  }

 private:
  /// The bytes of an interceptor.
  void beginFromMemory(const std::shared_ptr<SendExchange>& exchange, TaskOutcome outcome) {
    const auto queue = DispatchQueue::current().value_or(DispatchQueue::global());
    Data bytes = std::exchange(outcome.data, std::nullopt).value_or(Data());
    auto head = outcome.response;
    const auto whenOver = [exchange, queue, outcome](std::optional<Error> error) mutable {
      outcome.error = std::move(error);
      queue.async([exchange, outcome]() mutable { processTaskCompletion(exchange, std::move(outcome)); });
    };
    std::exchange(consumer_, nullptr)
        ->begin(std::move(head), std::make_shared<MemorySource>(std::move(bytes), exchange->bounds(), whenOver));
  }

  std::shared_ptr<StreamConsumer> consumer_;
};

void SendingOfStream::intercept(Parts parts, std::shared_ptr<StreamConsumer> consumer) {
  Interception::start(std::move(parts), std::make_unique<InterceptedStream>(std::move(consumer)));
}

}  // namespace

void streamFromNetwork(std::shared_ptr<SendExchange> exchange, std::shared_ptr<StreamConsumer> consumer) {
  Sending::start<SendingOfStream>(std::move(exchange), nullptr, std::move(consumer));
}

}  // namespace corvane::detail
