#pragma once

#include <optional>
#include <utility>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

/// The half of an exchange that depends on the response type only.
template <class Response>
class CORVANE_API ResponseExchange : public SendExchange {
 public:
  using Completion = platform::UniqueFunction<void(Response)>;

  /// The completion is set last, when nothing can be thrown any more: until then it is the caller's.
  explicit ResponseExchange(std::optional<platform::DispatchQueue> queue);
  ~ResponseExchange() override;

  bool isLongToMake(const TaskOutcome& outcome) const override;
  void makeResponse(const TaskOutcome& outcome) override;
  bool keepsFile() const override;
  const std::optional<platform::DispatchQueue>& completionQueue() const override { return queue_; }
  void deliver() override;

 protected:
  void setCompletion(Completion&& completion) noexcept { completion_ = std::move(completion); }
  /// Requires: one was made.
  const Response& response() const { return *response_; }

 private:
  const std::optional<platform::DispatchQueue> queue_;
  Completion completion_;
  std::optional<Response> response_;
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
  response_.emplace(outcome.data, outcome.url, outcome.response, outcome.error);
}

// A custom response type without the member may have kept the file's URL.
template <class Response>
bool ResponseExchange<Response>::keepsFile() const {
  if constexpr (requires { response_->keepsFile(); }) {
    return response_->keepsFile();
  } else {
    return true;
  }
}

template <class Response>
void ResponseExchange<Response>::deliver() {
  if (completion_) completion_(std::move(*response_));
}

/// Delivers the outcome of a request that could not even be copied for its way, asynchronously as any other.
template <class Response>
void deliverFailure(const std::optional<platform::DispatchQueue>& queue,
                    typename ResponseExchange<Response>::Completion&& completion, platform::Error error) {
  velisand::async(queue, [completion = std::move(completion),
                          response = Response(std::nullopt, std::nullopt, nullptr, std::move(error))]() mutable {
    if (completion) completion(std::move(response));
  });
}

}  // namespace corvane::detail
