#pragma once

#include <memory>
#include <optional>
#include <typeinfo>
#include <utility>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Request/Detail/Describe.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Request/Detail/ResponseExchange.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Corvane/Transport/HTTPRequestCancelable.hpp"

namespace corvane::detail {

/// Answers the pipeline for one request type, whatever becomes of the response.
template <class Request, class Response>
class RequestExchange : public ResponseExchange<Response> {
 public:
  using Base = ResponseExchange<Response>;

  /// Throws what the request throws when it is copied, or asked for its identifier; the completion is untouched then.
  RequestExchange(const Request& request, std::optional<platform::DispatchQueue> queue,
                  typename Base::Completion&& completion)
      : Base(std::move(queue)), request_(request), uuid_(identifier()) {
    this->setCompletion(std::move(completion));
  }

  const Request& request() const { return request_; }

  bool shouldSend() const override { return requirement::shouldSend(request_); }
  void validate() const override {
    if constexpr (ValidatesItself<Request>) request_.validate();
  }
  SessionKey sessionKey() const override { return detail::sessionKey(request_); }
  platform::URLRequest urlRequest() const override { return request_.urlRequest(); }
  bool isAcceptable(HTTPStatus status) const override { return request_.isAcceptable(status); }
  std::optional<platform::URL> bodyFile() const override {
    if constexpr (UploadsFile<Request>) return velisand::fileURL(requirement::body(request_));
    return std::nullopt;
  }
  std::optional<platform::Data> bodyBytes() const override {
    if constexpr (CarriesBody<Request>) {
      if constexpr (checkBody<Request>()) return describeBody(request_).bytes;
    }
    return std::nullopt;
  }
  void describeDownload([[maybe_unused]] platform::DownloadOptions& options) const override {
    if constexpr (Downloads<Request>) {
      options = static_cast<const typename Request::DownloadMixin&>(request_).downloadOptions();
    }
  }
  const std::type_info& requestType() const override { return typeid(Request); }
  std::optional<platform::UUID> uuid() const override { return uuid_; }

 private:
  std::optional<platform::UUID> identifier() const {
    if constexpr (Cancelable<Request>) return read(&Request::uuid, request_);
    return std::nullopt;
  }

  const Request request_;
  const std::optional<platform::UUID> uuid_;
};

/// The same for the request's own response type.
template <class Request>
class TypedExchange final : public RequestExchange<Request, typename Request::Response> {
 public:
  using Base = ResponseExchange<typename Request::Response>;
  using RequestExchange<Request, typename Request::Response>::RequestExchange;

  /// The exchange that answers for a copy of the request. Null where that cannot be made: then the completion gets
  /// what was thrown.
  static std::shared_ptr<TypedExchange> make(const Request& request, std::optional<platform::DispatchQueue> queue,
                                             typename Base::Completion completion) {
    try {
      return std::make_shared<TypedExchange>(request, queue, std::move(completion));
    } catch (...) {
      deliverFailure<typename Request::Response>(queue, std::move(completion), platform::Error::current());
      return nullptr;
    }
  }

  void validateResponse() const override {
    if constexpr (ValidatesResponse<Request>) {
      this->request().validate(this->response());
    } else {
      this->request().process(this->response());
    }
  }
  void printDebugOutput(const TaskOutcome& outcome) const override {
    static_cast<const RequestMixin<Request>&>(this->request())
        .printDebugOutput(outcome.error, this->response(), outcome.data);
  }
};

}  // namespace corvane::detail
