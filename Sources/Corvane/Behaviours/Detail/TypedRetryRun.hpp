#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Corvane/Behaviours/Detail/RetryRun.hpp"
#include "Corvane/Behaviours/HTTPRetryResult.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

/// What an attempt of a retrying send is.
enum class RetryKind {
  /// A send; decisions are made on the queue for retries.
  send,
  /// A single exchange for a tick of the polling; decisions are made on the completion queue.
  fromPoll,
  /// A poll fired by hand, itself retrying; decisions are made on the completion queue.
  poll
};

/// Any integer, cut to the range of 64 bits with a sign.
template <std::integral Integer>
constexpr std::int64_t saturated(Integer value) {
  constexpr auto largest = (std::numeric_limits<std::int64_t>::max)();
  return std::cmp_greater(value, largest) ? largest : static_cast<std::int64_t>(value);
}

template <class Request>
HTTPRetryPolicy policyOf(const Request& request) {
  return requirement::retryPolicy(request);
}

/// Whether the type says more than the rule. It then needs no interval.
template <class Request>
constexpr bool hasPolicyOfItsOwn() {
  using Default = HTTPRetryAttempting<Request>;
  if constexpr (requirement::retryPolicyRequirement::isLeftTo<Request, Default>) {
    return &Request::retryPolicy != &Default::retryPolicy;
  } else {
    return true;
  }
}

template <class Request>
platform::Seconds intervalOf(const Request& request) {
  if constexpr (requirement::retryIntervalRequirement::isStated<Request>) {
    return platform::Seconds(requirement::retryInterval(request));
  } else {
    return 1;
  }
}

template <class Request>
std::optional<platform::UUID> uuidOf(const Request& request) {
  if constexpr (Cancelable<Request>) return read(&Request::uuid, request);
  return std::nullopt;
}

/// The retrying send of one request type. The request is a copy.
template <class Request>
class TypedRetryRun final : public RetryRun {
 public:
  using Response = typename Request::Response;
  using Completion = platform::UniqueFunction<void(HTTPRetryResult<Response>)>;

  /// Throws what the request throws when it is copied or asked; the completion is untouched then.
  TypedRetryRun(const Request& request, RetryKind kind, const SendOptions& options, const SharedBounds& bounds,
                Completion&& completion)
      : RetryRun(policyOf(request), uuidOf(request), bounds),
        request_(request),
        kind_(kind),
        queue_(options.queue),
        relay_(progressRelay(options.progress)),
        retryQueue_(request_.retryQueue()),
        completion_(std::move(completion)) {}

  /// What cannot even be begun is one attempt, which failed with what was thrown.
  static void begin(const Request& request, RetryKind kind, const SendOptions& options, const SharedBounds& bounds,
                    Completion completion) {
    std::shared_ptr<TypedRetryRun> run;
    try {
      run = std::make_shared<TypedRetryRun>(request, kind, options, bounds, std::move(completion));
    } catch (...) {
      deliverFailure<Response>(
          options.queue,
          [completion = std::move(completion)](Response response) mutable {
            if (completion) completion(HTTPRetryResult<Response>::noFailure(std::move(response)));
          },
          platform::Error::current());
      return;
    }
    run->start();
  }

 private:
  RetryNumbers numbers() const override {
    return {.interval = intervalOf(request_).count(),
            .limit = saturated(requirement::retryLimit(request_)),
            .delta = saturated(requirement::retryDelta(request_))};
  }
  std::int64_t failCount() const override { return static_cast<std::int64_t>(failures_.size()); }
  void sendOnce() override;
  bool hasFailed() const override;
  bool tellsOfStop() const override;
  bool isWorthRetrying() const override;
  std::optional<platform::HTTPHeaderFields> headers() const override { return read(&Response::headers, *last_); }
  void keepFailure() override {
    failures_.push_back(std::move(*last_));
    last_.reset();
  }
  void putFailure(platform::Error error) override {
    last_.emplace(std::nullopt, std::nullopt, nullptr, std::move(error));
  }
  void deliver(RetryStep result) override;
  void complete(RetryStep result);
  /// Tells the caller's handler, on the caller's queue.
  HTTPProgressHandler progressOfAttempt() const {
    if (!relay_) return {};
    return [relay = relay_, queue = queue_](const HTTPProgress& progress) { tell(relay, queue, progress); };
  }

  const Request request_;
  const RetryKind kind_;
  const std::optional<platform::DispatchQueue> queue_;
  const std::shared_ptr<ProgressRelay> relay_;
  const platform::DispatchQueue retryQueue_;
  Completion completion_;
  std::vector<Response> failures_;
  std::optional<Response> last_;
};

template <class Request>
void TypedRetryRun<Request>::sendOnce() {
  // Of a send that calls its completion and throws, too, one counts.
  const auto isOver = std::make_shared<std::atomic_flag>();
  typename Request::Completion received(
      [isOver, self = std::static_pointer_cast<TypedRetryRun>(shared_from_this())](Response response) {
        if (isOver->test_and_set()) return;
        self->last_.emplace(std::move(response));
        self->decide();
      },
      boundsOfAttempt());
  try {
    if constexpr (Polls<Request>) {
      if (kind_ == RetryKind::poll) {
        Request::firePollForRetryable(request_, queue_, std::move(received), progressOfAttempt());
      } else {
        dispatchSingleSend(request_, queue_, progressOfAttempt(), std::move(received));
      }
    } else {
      sendByForm(request_, retryQueue_, progressOfAttempt(), std::move(received));
    }
  } catch (...) {
    if (!isOver->test_and_set()) throw;
  }
}

template <class Request>
bool TypedRetryRun<Request>::hasFailed() const {
  auto&& result = read(&Response::result, *last_);
  return result.error() != nullptr;
}

template <class Request>
bool TypedRetryRun<Request>::tellsOfStop() const {
  auto&& result = read(&Response::result, *last_);
  return result.error() && SendBounds::of(bounds()).isErrorOfStop(*result.error());
}

template <class Request>
bool TypedRetryRun<Request>::isWorthRetrying() const {
  if (policy().failures == HTTPRetryPolicy::Failures::transient) {
    const bool mayRepeat =
        policy().retriesUnsafeMethods || isSafeMethod(HTTPMethod(requirement::method(request_)).rawValue);
    if (!mayRepeat || !isTransient(*last_)) return false;
  }
  return request_.shouldRetry(*last_);
}

template <class Request>
void TypedRetryRun<Request>::deliver(RetryStep step) {
  if (step == RetryStep::totalFailure) keepFailure();
  // Nothing is moved from before it is certain that the completion is called.
  velisand::async(queue_, [self = std::static_pointer_cast<TypedRetryRun>(shared_from_this()), step] {
    if (self->relay_) return end(*self->relay_, [self, step] { self->complete(step); });
    self->complete(step);
  });
}

template <class Request>
void TypedRetryRun<Request>::complete(RetryStep step) {
  using Result = HTTPRetryResult<Response>;
  Completion completion = std::move(completion_);
  if (!completion) return;
  switch (step) {
    case RetryStep::noFailure:
      return completion(Result::noFailure(*std::move(last_)));
    case RetryStep::partialFailure:
      return completion(Result::partialFailure(*std::move(last_), std::move(failures_)));
    default:
      return completion(Result::totalFailure(std::move(failures_)));
  }
}

}  // namespace corvane::detail
