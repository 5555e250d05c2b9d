#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Responses/ResponseRecord.hpp"
#include "Corvane/Transport/Detail/ErrorResponse.hpp"
#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

/// A completion, and what it is to be called with.
template <class Response>
struct PendingResponse {
  SendCompletion<Response> completion;
  std::optional<Response> response;

  void make(const TaskOutcome& outcome) {
    response.emplace(outcome.data, outcome.url, outcome.response, outcome.error);
    if constexpr (std::derived_from<Response, ResponseRecord>) response->metrics = outcome.metrics;
  }
  /// Requires: there is a response.
  void deliver() {
    if (completion) completion(std::move(*response));
  }
};

/// The half of an exchange that depends on the response type only.
template <class Response>
class CORVANE_API ResponseExchange : public SendExchange {
 public:
  using Completion = SendCompletion<Response>;

  /// The completion is set last, when nothing can be thrown any more: until then it is the caller's.
  explicit ResponseExchange(std::optional<platform::DispatchQueue> queue);
  ~ResponseExchange() override;

  bool isLongToMake(const TaskOutcome& outcome) const override;
  void makeResponse(const TaskOutcome& outcome) override;
  bool keepsFile() const override;
  bool hasFailed() const override;
  const std::optional<platform::DispatchQueue>& completionQueue() const override { return queue_; }
  const SendBounds& bounds() const override { return SendBounds::of(pending_.completion.bounds()); }
  void deliver() override;

 protected:
  void setCompletion(Completion&& completion) noexcept { pending_.completion = std::move(completion); }
  /// Requires: one was made.
  const Response& response() const { return *pending_.response; }

 private:
  const std::optional<platform::DispatchQueue> queue_;
  PendingResponse<Response> pending_;
};

template <class Response>
ResponseExchange<Response>::ResponseExchange(std::optional<platform::DispatchQueue> queue) : queue_(std::move(queue)) {}

template <class Response>
ResponseExchange<Response>::~ResponseExchange() = default;

template <class Response>
bool ResponseExchange<Response>::isLongToMake(const TaskOutcome& outcome) const {
  if constexpr (requires { Response::isLongToMake(outcome.data, outcome.url); }) {
    return !outcome.error && Response::isLongToMake(outcome.data, outcome.url);
  } else if constexpr (requires { Response::isLongToMake(outcome.data); }) {
    return !outcome.error && Response::isLongToMake(outcome.data);
  } else {
    return false;
  }
}

template <class Response>
void ResponseExchange<Response>::makeResponse(const TaskOutcome& outcome) {
  pending_.make(outcome);
  if constexpr (requires { attachResponse(pending_.response->result.error(), outcome); }) {
    attachResponse(pending_.response->result.error(), outcome);
  }
}

// A custom response type without the member may have kept the file's URL.
template <class Response>
bool ResponseExchange<Response>::keepsFile() const {
  if constexpr (requires { pending_.response->keepsFile(); }) {
    return pending_.response->keepsFile();
  } else {
    return true;
  }
}

template <class Response>
bool ResponseExchange<Response>::hasFailed() const {
  return static_cast<bool>(pending_.response->result.error());
}

template <class Response>
void ResponseExchange<Response>::deliver() {
  pending_.deliver();
}

/// Delivers the outcome of a request that could not even be copied for its way, asynchronously as any other.
template <class Response>
void deliverFailure(const std::optional<platform::DispatchQueue>& queue,
                    typename ResponseExchange<Response>::Completion&& completion, platform::Error error) {
  auto pending = std::make_unique<PendingResponse<Response>>();
  pending->make({.data = {}, .url = {}, .response = nullptr, .error = std::move(error)});
  pending->completion = std::move(completion);
  velisand::async(queue, [pending = std::move(pending)] { pending->deliver(); });
}

}  // namespace corvane::detail
