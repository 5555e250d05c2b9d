#pragma once

#include <Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp>
#include <Corvane/Corvane.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "ToolOptions.hpp"
#include "ToolResponse.hpp"

/// What the options say about a request, over the mixin that makes it one. Each can be cancelled by itself.
/// The options must outlive it.
template <class Mixin>
class DescribedRequest : public Mixin {
 public:
  explicit DescribedRequest(const ToolOptions& options) : options_(&options) {}

  corvane::HTTPMethod method() const { return options_->method; }
  corvane::URL url() const { return options_->url; }
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
    const auto code = statusCode(response);
    if (!response.result.error() && code && !options_->accepts(*code))
      throw corvane::HTTPResponseError::unacceptableStatus(response.status);
  }

 protected:
  const ToolOptions& options() const { return *options_; }

 private:
  const ToolOptions* options_;
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

template <class Self>
struct PlainMixin : corvane::HTTPRequestable<Self, ToolResponse>, corvane::HTTPRequestCancelable<Self> {};

template <class Self>
struct BodyMixin : PlainMixin<Self>, corvane::HTTPBodyRequestable<Self, corvane::Data> {};

template <class Self>
struct DownloadMixin : corvane::DownloadRequestable<Self, corvane::URL, ToolDownloadResponse>,
                       corvane::HTTPRequestCancelable<Self> {};

template <class Self>
struct DownloadBodyMixin : DownloadMixin<Self>, corvane::HTTPBodyRequestable<Self, corvane::Data> {};

template <class Self>
struct FileMixin : corvane::UploadRequestable<Self, ToolResponse, corvane::URL>,
                   corvane::HTTPRequestCancelable<Self> {};

template <class Self>
struct FormMixin : corvane::MultipartUploadRequestable<Self, ToolResponse>, corvane::HTTPRequestCancelable<Self> {};

class PlainRequest final : public DescribedRequest<PlainMixin<PlainRequest>> {
 public:
  using DescribedRequest::DescribedRequest;
};

class BodyRequest final : public DescribedBodyRequest<BodyMixin<BodyRequest>> {
 public:
  using DescribedBodyRequest::DescribedBodyRequest;
};

class PlainDownload final : public DescribedRequest<DownloadMixin<PlainDownload>> {
 public:
  using DescribedRequest::DescribedRequest;
};

class BodyDownload final : public DescribedBodyRequest<DownloadBodyMixin<BodyDownload>> {
 public:
  using DescribedBodyRequest::DescribedBodyRequest;
};

class FileUpload final : public DescribedRequest<FileMixin<FileUpload>> {
 public:
  using DescribedRequest::DescribedRequest;

  corvane::URL body() const { return *options().uploadedFile; }
  corvane::HTTPMediaType contentType() const { return options().contentType; }
};

class FormUpload final : public DescribedRequest<FormMixin<FormUpload>> {
 public:
  using DescribedRequest::DescribedRequest;

  const std::vector<corvane::MultipartFormSection>& body() const { return options().formSections; }
  corvane::HTTPMediaType contentType() const { return options().contentType; }
};

/// Calls `use` with a new request, of the kind that the options ask for.
template <class Use>
auto withNewRequest(const ToolOptions& options, Use use) {
  if (options.uploadedFile) return use(FileUpload(options));
  if (!options.formSections.empty()) return use(FormUpload(options));
  if (options.downloadDirectory) return options.body ? use(BodyDownload(options)) : use(PlainDownload(options));
  return options.body ? use(BodyRequest(options)) : use(PlainRequest(options));
}
