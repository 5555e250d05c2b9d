#pragma once

#include <Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp>
#include <Corvane/Corvane.hpp>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "ExchangeRecorder.hpp"
#include "ToolOptions.hpp"
#include "ToolResponse.hpp"

template <class Request>
concept TellsProgress =
    requires(const Request& request, std::optional<corvane::DispatchQueue> queue, corvane::HTTPProgressHandler handler,
             typename Request::Completion completion) { request.send(queue, handler, std::move(completion)); };

/// What the options say about a request, over the mixin that makes it one. Each can be cancelled by itself, and
/// attempted again. The options must outlive it. Everything about it is decided on the main queue.
template <class Mixin>
class DescribedRequest : public Mixin {
 public:
  DescribedRequest(const ToolOptions& options, std::shared_ptr<ExchangeRecorder> recorder)
      : options_(&options), journal_(std::move(recorder)) {}

  corvane::HTTPMethod method() const { return options_->method; }
  corvane::URL url() const { return journal_->url; }
  corvane::HTTPHeaders sharedHeaders() const { return {}; }
  corvane::HTTPHeaders headers() const { return options_->headers; }
  corvane::HTTPMediaType acceptType() const { return options_->acceptType; }
  double timeoutInterval() const { return options_->timeoutInSeconds; }
  bool shouldWaitForConnectivity() const { return options_->waitsForConnectivity; }

  /// Lets every unlisted status pass: which one it is, `process` knows.
  bool isAcceptable(corvane::HTTPStatus status) const {
    return status == corvane::HTTPStatus::unknown || options_->accepts(status.rawValue());
  }
  void process(const typename Mixin::Response& response) const {
    const auto code = response.statusCode();
    if (!response.result.error() && code && !options_->accepts(*code))
      throw corvane::HTTPResponseError::unacceptableStatus(response.status);
  }

  double retryInterval() const { return options_->retry ? options_->retry->intervalInSeconds : 0; }
  /// Below 0 there is one attempt.
  std::int64_t retryLimit() const { return options_->retry ? options_->retry->limit : -1; }
  std::int64_t retryDelta() const { return options_->retry ? options_->retry->deltaInSeconds : 0; }
  corvane::HTTPRetryPolicy retryPolicy() const {
    return options_->retry ? options_->retry->policy : corvane::HTTPRetryPolicy{};
  }
  corvane::DispatchQueue retryQueue() const { return corvane::DispatchQueue::main(); }
  bool shouldRetry(const typename Mixin::Response& response) const {
    if (options_->retry->isForTransientFailures && !corvane::isTransient(response)) return false;
    journal_->addFailure(response, *response.result.error());
    return true;
  }

  using Mixin::send;
  /// An attempt.
  void send(std::optional<corvane::DispatchQueue> queue, typename Mixin::Completion completion) const {
    if constexpr (TellsProgress<Mixin>) {
      send(std::move(queue), nullptr, std::move(completion));
    } else {
      ++journal_->attempts;
      Mixin::send(std::move(queue), std::move(completion));
    }
  }
  /// An attempt of a transfer, which reports its progress to the recorder.
  void send(std::optional<corvane::DispatchQueue> queue, corvane::HTTPProgressHandler,
            typename Mixin::Completion completion) const {
    ++journal_->attempts;
    corvane::HTTPProgressHandler handler;
    if (journal_->progress) handler = journal_->progress;
    Mixin::send(std::move(queue), std::move(handler), std::move(completion));
  }

  const std::shared_ptr<ExchangeRecorder>& recorder() const { return journal_; }

 protected:
  const ToolOptions& options() const { return *options_; }

 private:
  const ToolOptions* options_;
  std::shared_ptr<ExchangeRecorder> journal_;
};

/// The same for a body in memory.
template <class Mixin>
class DescribedBodyRequest : public DescribedRequest<Mixin> {
 public:
  using DescribedRequest<Mixin>::DescribedRequest;

  corvane::Data body() const { return *this->options().body; }
  corvane::HTTPMediaType contentType() const { return this->options().contentType; }
  std::optional<corvane::HTTPContentEncoderType> contentEncoder() const {
    if (!this->options().compressesBody) return std::nullopt;
    return corvane::HTTPContentEncoderType::of<corvane::HTTPGzipContentEncoder>();
  }
};

/// What is to become of the file, over a described request that is a download.
template <class Request>
class DescribedDownload : public Request {
 public:
  using Request::Request;

  std::optional<corvane::HTTPDownloadDestination> destination() const {
    return this->options().destination(this->recorder()->number);
  }
  const std::optional<corvane::SHA256Digest>& expectedDigest() const { return this->options().expectedDigest; }
};

template <class Self>
struct SendingMixin : corvane::HTTPRequestCancelable<Self>, corvane::HTTPRetryAttempting<Self> {};

template <class Self>
struct PlainMixin : corvane::HTTPRequestable<Self, ToolResponse>, SendingMixin<Self> {};

template <class Self>
struct BodyMixin : PlainMixin<Self>, corvane::HTTPBodyRequestable<Self, corvane::Data> {};

template <class Self>
struct DownloadMixin : corvane::DownloadRequestable<Self, corvane::URL, ToolDownloadResponse>, SendingMixin<Self> {};

template <class Self>
struct DownloadBodyMixin : DownloadMixin<Self>, corvane::HTTPBodyRequestable<Self, corvane::Data> {};

template <class Self>
struct FileMixin : corvane::UploadRequestable<Self, ToolResponse, corvane::URL>, SendingMixin<Self> {};

template <class Self>
struct FormMixin : corvane::MultipartUploadRequestable<Self, ToolResponse>, SendingMixin<Self> {};

// The kinds of requests. `Manner` is a further base: how such a request comes to be sent.

template <template <class> class Manner>
class PlainRequest final : public DescribedRequest<PlainMixin<PlainRequest<Manner>>>,
                           public Manner<PlainRequest<Manner>> {
 public:
  using DescribedRequest<PlainMixin<PlainRequest>>::DescribedRequest;
};

template <template <class> class Manner>
class BodyRequest final : public DescribedBodyRequest<BodyMixin<BodyRequest<Manner>>>,
                          public Manner<BodyRequest<Manner>> {
 public:
  using DescribedBodyRequest<BodyMixin<BodyRequest>>::DescribedBodyRequest;
};

template <template <class> class Manner>
class PlainDownload final : public DescribedDownload<DescribedRequest<DownloadMixin<PlainDownload<Manner>>>>,
                            public Manner<PlainDownload<Manner>> {
 public:
  using DescribedDownload<DescribedRequest<DownloadMixin<PlainDownload>>>::DescribedDownload;
};

template <template <class> class Manner>
class BodyDownload final : public DescribedDownload<DescribedBodyRequest<DownloadBodyMixin<BodyDownload<Manner>>>>,
                           public Manner<BodyDownload<Manner>> {
 public:
  using DescribedDownload<DescribedBodyRequest<DownloadBodyMixin<BodyDownload>>>::DescribedDownload;
};

template <template <class> class Manner>
class FileUpload final : public DescribedRequest<FileMixin<FileUpload<Manner>>>, public Manner<FileUpload<Manner>> {
 public:
  using DescribedRequest<FileMixin<FileUpload>>::DescribedRequest;

  corvane::URL body() const { return *this->options().uploadedFile; }
  corvane::HTTPMediaType contentType() const { return this->options().contentType; }
};

template <template <class> class Manner>
class FormUpload final : public DescribedRequest<FormMixin<FormUpload<Manner>>>, public Manner<FormUpload<Manner>> {
 public:
  using DescribedRequest<FormMixin<FormUpload>>::DescribedRequest;

  const std::vector<corvane::MultipartFormSection>& body() const { return this->options().formSections; }
  corvane::HTTPMediaType contentType() const { return this->options().contentType; }
};

/// Calls `use` with the `std::type_identity` of the kind of request that the options ask for.
template <template <class> class Manner, class Use>
auto withKindOfRequest(const ToolOptions& options, Use use) {
  if (options.uploadedFile) return use(std::type_identity<FileUpload<Manner>>());
  if (!options.formSections.empty()) return use(std::type_identity<FormUpload<Manner>>());
  if (options.isDownload()) {
    return options.body ? use(std::type_identity<BodyDownload<Manner>>())
                        : use(std::type_identity<PlainDownload<Manner>>());
  }
  return options.body ? use(std::type_identity<BodyRequest<Manner>>())
                      : use(std::type_identity<PlainRequest<Manner>>());
}

/// The policy of requests that are sent by their maker.
template <class Self>
struct SentByHand {};

/// Calls `use` with a new request, of the kind that the options ask for.
template <class Use>
auto withNewRequest(const ToolOptions& options, const std::shared_ptr<ExchangeRecorder>& recorder, Use use) {
  return withKindOfRequest<SentByHand>(
      options, [&]<class Request>(std::type_identity<Request>) { return use(Request(options, recorder)); });
}

/// The same for one that is looked at and not sent.
template <class Use>
auto withNewRequest(const ToolOptions& options, const corvane::URL& url, Use use) {
  const auto recorder = std::make_shared<ExchangeRecorder>(ExchangeRecorder{.number = 1, .url = url});
  return withNewRequest(options, recorder, std::move(use));
}
