#pragma once

#include <optional>
#include <utility>

#include "Corvane/Request/Describe.hpp"
#include "Corvane/Request/RequestChecks.hpp"
#include "Corvane/RequirementReading.hpp"
#include "Corvane/Transport/HTTPRequestCancelable.hpp"
#include "Corvane/Transport/SendPipeline.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"

namespace corvane::detail {

/// Answers the pipeline for one request type.
template <class Request>
class TypedExchange final : public Exchange {
 public:
  using Response = typename Request::Response;
  using Completion = platform::UniqueFunction<void(Response)>;

  TypedExchange(const Request& request, std::optional<platform::DispatchQueue> queue, Completion completion)
      : request_(request), queue_(std::move(queue)), completion_(std::move(completion)) {}

  bool shouldSend() const override { return read(&Request::shouldSend, request_); }
  void validate() const override {
    if constexpr (ValidatesItself<Request>) request_.validate();
  }
  SessionKey sessionKey() const override { return detail::sessionKey(request_); }
  platform::URLRequest urlRequest() const override { return request_.urlRequest(); }
  bool isAcceptable(HTTPStatus status) const override { return request_.isAcceptable(status); }
  std::optional<platform::UUID> uuid() const override {
    if constexpr (Cancelable<Request>) return read(&Request::uuid, request_);
    return std::nullopt;
  }

  void makeResponse(const TaskOutcome& outcome) override {
    response_.emplace(outcome.data, outcome.url, outcome.response, outcome.error);
  }
  void validateResponse() const override {
    if constexpr (ValidatesResponse<Request>) {
      request_.validate(*response_);
    } else {
      request_.process(*response_);
    }
  }
  void printDebugOutput(const TaskOutcome& outcome) const override {
    static_cast<const RequestMixin<Request>&>(request_).printDebugOutput(outcome.error, *response_, outcome.data);
  }

  const std::optional<platform::DispatchQueue>& completionQueue() const override { return queue_; }
  void deliver() override { completion_(std::move(*response_)); }

 private:
  const Request request_;
  const std::optional<platform::DispatchQueue> queue_;
  Completion completion_;
  std::optional<Response> response_;
};

}  // namespace corvane::detail
