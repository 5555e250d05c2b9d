#pragma once

#include <Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp>
#include <Corvane/Corvane.hpp>
#include <optional>
#include <utility>

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
  void process(const ToolResponse& response) const {
    const auto code = response.statusCode();
    if (!response.result.error() && code && !options_->accepts(*code))
      throw corvane::HTTPResponseError::unacceptableStatus(response.status);
  }

 protected:
  const ToolOptions& options() const { return *options_; }

 private:
  const ToolOptions* options_;
};

template <class Self>
struct PlainMixin : corvane::HTTPRequestable<Self, ToolResponse>, corvane::HTTPRequestCancelable<Self> {};

template <class Self>
struct BodyMixin : PlainMixin<Self>, corvane::HTTPBodyRequestable<Self, corvane::Data> {};

class PlainRequest final : public DescribedRequest<PlainMixin<PlainRequest>> {
 public:
  using DescribedRequest::DescribedRequest;
};

class BodyRequest final : public DescribedRequest<BodyMixin<BodyRequest>> {
 public:
  using DescribedRequest::DescribedRequest;

  corvane::Data body() const { return *options().body; }
  corvane::HTTPMediaType contentType() const { return options().contentType; }
  std::optional<corvane::HTTPContentEncoderType> contentEncoder() const {
    if (!options().compressesBody) return std::nullopt;
    return corvane::HTTPContentEncoderType::of<corvane::HTTPGzipContentEncoder>();
  }
};

/// Calls `use` with a new request, of the kind that the options ask for.
template <class Use>
auto withNewRequest(const ToolOptions& options, Use use) {
  if (options.body) return use(BodyRequest(options));
  return use(PlainRequest(options));
}
