#pragma once

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

  TypedExchange(const Request& request, std::optional<platform::DispatchQueue> queue,
                typename Base::Completion completion)
      : Base(std::move(queue), std::move(completion)), request_(request) {}

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
  std::optional<platform::UUID> uuid() const override {
    if constexpr (Cancelable<Request>) return read(&Request::uuid, request_);
    return std::nullopt;
  }

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
  const Request request_;
};

}  // namespace corvane::detail
