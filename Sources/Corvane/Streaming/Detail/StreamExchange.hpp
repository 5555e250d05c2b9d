#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Streaming/Detail/StreamSource.hpp"
#include "Corvane/Streaming/HTTPStreamResponse.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane::detail {

extern template class ResponseExchange<HTTPStreamResponse>;

/// Answers the pipeline for one request type whose response is streamed.
template <class Request>
class StreamExchange final : public RequestExchange<Request, HTTPStreamResponse>,
                             public std::enable_shared_from_this<StreamExchange<Request>> {
  using Base = RequestExchange<Request, HTTPStreamResponse>;

 public:
  using Completion = SendCompletion<HTTPStreamResponse>;
  using Base::Base;

  /// As `TypedExchange::make`.
  static std::shared_ptr<StreamExchange> make(const Request& request, std::optional<platform::DispatchQueue> queue,
                                              Completion completion) {
    try {
      return std::make_shared<StreamExchange>(request, queue, std::move(completion));
    } catch (...) {
      deliverFailure<HTTPStreamResponse>(queue, std::move(completion), platform::Error::current());
      return nullptr;
    }
  }

  /// Header fields that go out beside the request's own.
  platform::HTTPHeaderFields moreFields;
  /// Of a mock: gets its bytes.
  std::shared_ptr<StreamConsumer> consumerOfMock;

  platform::URLRequest urlRequest() const override {
    auto request = Base::urlRequest();
    request.allHTTPHeaderFields.merge(moreFields);
    return request;
  }

  // The request's hooks are for responses of its own type.
  void validateResponse() const override {}
  void printDebugOutput(const TaskOutcome& outcome) const override {
    const auto level = currentVerbosity();
    if (level == HTTPVerbosityLevel::none) return;
    const auto& request = static_cast<const RequestMixin<Request>&>(this->request());
    const bool isVerbose = level == HTTPVerbosityLevel::verbose;
    const auto& response = this->response();
    detail::printDebugOutput(level, {.method = requirement::method(this->request()),
                                     .target = describeURL(this->request()),
                                     .configuration = this->sessionKey().sessionConfigurationIdentifier,
                                     .curlCommand = isVerbose ? request.debugDescription() : std::string(),
                                     .status = response.status,
                                     .headers = response.headers,
                                     .body = std::nullopt,
                                     .error = outcome.error});
  }

  void makeResponse(const TaskOutcome& outcome) override {
    if (!outcome.error) mocked_ = outcome.data.value_or(platform::Data());
    Base::makeResponse(outcome);
  }
  void deliver() override {
    const auto consumer = std::exchange(consumerOfMock, nullptr);
    if (!consumer || this->response().result.error()) return Base::deliver();
    const auto whenOver = [self = this->shared_from_this()](std::optional<platform::Error> error) {
      if (error) self->Base::makeResponse({{}, {}, self->response().urlResponse, std::move(error)});
      velisand::async(self->completionQueue(), [self] { self->Base::deliver(); });
    };
    consumer->begin(this->response().urlResponse,
                    std::make_shared<MemorySource>(std::move(mocked_), this->bounds(), whenOver));
  }

 private:
  platform::Data mocked_;
};

}  // namespace corvane::detail
