#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Request/Describe.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Request/Detail/ResponseExchange.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Corvane/Transport/HTTPRequestCancelable.hpp"

namespace corvane::detail {

/// Answers the pipeline for one request type.
template <class Request>
class TypedExchange final : public ResponseExchange<typename Request::Response> {
 public:
  using Base = ResponseExchange<typename Request::Response>;

  /// Throws what the request throws when it is copied, or asked for its identifier; the completion is untouched then.
  TypedExchange(const Request& request, std::optional<platform::DispatchQueue> queue,
                typename Base::Completion&& completion)
      : Base(std::move(queue)), request_(request), uuid_(identifier()) {
    this->setCompletion(std::move(completion));
  }

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

  const Request& request() const { return request_; }

  bool shouldSend() const override { return read(&Request::shouldSend, request_); }
  void validate() const override {
    if constexpr (ValidatesItself<Request>) request_.validate();
  }
  SessionKey sessionKey() const override { return detail::sessionKey(request_); }
  platform::URLRequest urlRequest() const override { return request_.urlRequest(); }
  bool isAcceptable(HTTPStatus status) const override { return request_.isAcceptable(status); }
  std::optional<platform::URL> bodyFile() const override {
    if constexpr (UploadsFile<Request>) return velisand::fileURL(read(&Request::body, request_));
    return std::nullopt;
  }
  std::optional<platform::Data> bodyBytes() const override {
    if constexpr (CarriesBody<Request>) {
      if constexpr (checkBody<Request>()) return describeBody(request_).bytes;
    }
    return std::nullopt;
  }
  std::optional<platform::UUID> uuid() const override { return uuid_; }

  void validateResponse() const override {
    if constexpr (ValidatesResponse<Request>) {
      request_.validate(this->response());
    } else {
      request_.process(this->response());
    }
  }
  void printDebugOutput(const TaskOutcome& outcome) const override {
    static_cast<const RequestMixin<Request>&>(request_).printDebugOutput(outcome.error, this->response(), outcome.data);
  }

 private:
  std::optional<platform::UUID> identifier() const {
    if constexpr (Cancelable<Request>) return read(&Request::uuid, request_);
    return std::nullopt;
  }

  const Request request_;
  const std::optional<platform::UUID> uuid_;
};

}  // namespace corvane::detail
