#include "Corvane/Transfers/Detail/TransferPipeline.hpp"

#include <optional>
#include <utility>

#include "Corvane/Transfers/Internal/DownloadPlace.hpp"
#include "Corvane/Transport/Internal/InterceptedKinds.hpp"
#include "Corvane/Transport/Internal/InterceptedParts.hpp"
#include "Corvane/Transport/Internal/RelocatedFile.hpp"
#include "Corvane/Transport/Internal/Sending.hpp"

namespace corvane::detail {

using platform::Data;
using platform::Error;
using platform::TemporaryFile;
using platform::URLResponse;
using platform::URLSession;
using platform::URLSessionTask;

namespace {

platform::DownloadOptions optionsOf(const SendExchange& exchange) {
  platform::DownloadOptions options;
  exchange.describeDownload(options);
  return options;
}

/// Its response is saved in the end, when it is known which one that is. An interceptor may respond with bytes, which
/// then go to a file.
class InterceptedDownload final : public InterceptedKind {
 public:
  explicit InterceptedDownload(const Sending::Parts& parts)
      : place_(std::make_shared<const DownloadPlace>(optionsOf(*parts.exchange), parts.request.url)) {}

  HTTPExchangeKind name() const override { return HTTPExchangeKind::download; }
  void begin(Sending::Parts parts) override;
  void conclude(const std::shared_ptr<SendExchange>& exchange, HTTPInterceptedResponse response) override {
    if (response.data) InterceptedParts::discard(response);
    TaskOutcome outcome = InterceptedParts::outcome(std::move(response));
    if (!outcome.error) save(outcome);
    processTaskCompletion(exchange, std::move(outcome));
  }

 private:
  void save(TaskOutcome& outcome) const {
    try {
      if (outcome.data) {
        outcome.file = place_->save(*outcome.data, outcome.response.get());
      } else if (outcome.file && outcome.file->isAtDestination() && place_->isDeferred()) {
        outcome.file = place_->take(*outcome.file);
      }
      if (outcome.file) outcome.url = outcome.file->url();
    } catch (...) {
      outcome.error = Error::current();
      outcome.file.reset();
      outcome.url.reset();
    }
    outcome.data.reset();
  }

  const std::shared_ptr<const DownloadPlace> place_;
};

class SendingOfDownload final : public Sending {
 public:
  explicit SendingOfDownload(Parts parts) : Sending(std::move(parts)), options_(optionsOf(exchange())) {}
  /// One of an intercepted download.
  SendingOfDownload(Parts parts, std::shared_ptr<const DownloadPlace> place)
      : Sending(std::move(parts)), place_(std::move(place)), options_(place_->options()) {
    if (!place_->isDeferred()) return;
    beside_ = place_->makeBeside();
    options_.destination = {.path = beside_.path(), .overwrites = true};
  }

  static void intercept(Parts parts) {
    auto kind = std::make_unique<InterceptedDownload>(parts);
    Interception::start(std::move(parts), std::move(kind));
  }

 private:
  std::shared_ptr<URLSessionTask> makeTask(URLSession& session) override {
    return session.downloadTask(
        request(), options_,
        [self = std::static_pointer_cast<SendingOfDownload>(shared_from_this())](
            std::optional<TemporaryFile> received, std::shared_ptr<const URLResponse> response,
            std::optional<Error> error) {
          if (self->isOver(error))
            self->process(self->relocated(std::move(received), std::move(response), std::move(error)));
        });
  }

  TaskOutcome relocated(std::optional<TemporaryFile> received, std::shared_ptr<const URLResponse> response,
                        std::optional<Error> error) {
    TaskOutcome outcome{std::nullopt, std::nullopt, std::move(response), std::move(error)};
    try {
      if (received) {
        outcome.file = placed(*std::move(received), outcome.response.get());
        outcome.url = outcome.file->url();
      }
    } catch (...) {
      outcome.error = Error::current();
    }
    if (place_ && outcome.error) outcome.error = place_->named(*std::move(outcome.error));
    beside_.remove();
    return outcome;
  }

  std::shared_ptr<RelocatedFile> placed(TemporaryFile received, const URLResponse* response) {
    const bool isForDestination = response && options_.isForDestination(*response);
    if (!isForDestination) return RelocatedFile::relocate(std::move(received), response);
    if (beside_.path().empty()) return RelocatedFile::atDestination(std::move(received));
    received.keep();  // it is the same file
    return RelocatedFile::atDestination(std::move(beside_));
  }

  /// Null without interceptors.
  const std::shared_ptr<const DownloadPlace> place_;
  platform::DownloadOptions options_;
  /// What the response waits in, until it is there.
  TemporaryFile beside_;
};

void InterceptedDownload::begin(Sending::Parts parts) {
  std::make_shared<SendingOfDownload>(std::move(parts), place_)->begin();
}

class SendingOfUpload final : public Sending {
 public:
  using Sending::Sending;

  static void complete(Parts& parts) {
    parts.bodyFile = parts.exchange->bodyFile();
    // What the request's headers speak of is what it built beside them.
    if (!parts.bodyFile && !parts.request.httpBody && !parts.request.httpBodyStream)
      parts.request.httpBody = parts.exchange->bodyBytes();
  }
  static void intercept(Parts parts) {
    Interception::start(std::move(parts),
                        std::make_unique<InterceptedKindOf<SendingOfUpload, HTTPExchangeKind::upload>>());
  }

 private:
  bool hasBodyOfInterceptor() { return receiver() && (request().httpBody || request().httpBodyStream); }
  std::shared_ptr<URLSessionTask> makeTask(URLSession& session) override {
    if (bodyFile() && !hasBodyOfInterceptor()) return session.uploadTask(request(), *bodyFile(), dataCompletion());
    if (!request().httpBodyStream && !request().httpBody) request().httpBody.emplace();
    return session.uploadTask(request(), dataCompletion());
  }
};

}  // namespace

void download(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay) {
  Sending::start<SendingOfDownload>(std::move(exchange), std::move(relay));
}

void upload(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay) {
  Sending::start<SendingOfUpload>(std::move(exchange), std::move(relay));
}

}  // namespace corvane::detail
