#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/BehaviourMisuses.hpp"
#include "Corvane/Behaviours/Detail/PollResponse.hpp"
#include "Corvane/Behaviours/Detail/TypedRetryRun.hpp"
#include "Corvane/Behaviours/HTTPRetryPolicy.hpp"
#include "Corvane/Behaviours/HTTPRetryResult.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

namespace detail {

template <class Self>
concept JudgesFailures = requires(const Self& self, const typename Self::Response& response) {
  { self.shouldRetry(response) } -> std::same_as<bool>;
};

/// A type with a policy of its own may leave the waits to that.
template <class Self>
constexpr bool checkInterval() {
  if constexpr (hasPolicyOfItsOwn<Self>() && !requirement::retryIntervalRequirement::isStated<Self>) {
    return true;
  } else {
    return check<Self>(requirement::retryInterval);
  }
}

template <class Self>
constexpr bool checkRetry() {
  static_assert(JudgesFailures<Self>, "`shouldRetry` must be `bool shouldRetry(const Response& response) const`");
  return checkInterval<Self>() &&
         check<Self>(requirement::retryLimit, requirement::retryDelta, requirement::retryPolicy) &&
         JudgesFailures<Self>;
}

}  // namespace detail

/// Sends a request again after a failure, with growing waits, and delivers the responses of all attempts together.
///
///     struct GetUser : JSONGetRequestable<GetUser, User>, HTTPRetryAttempting<GetUser> {
///       static constexpr double retryInterval = 2;
///       static constexpr std::int64_t retryLimit = 3;
///       …
///     };
///
///     GetUser().sendAttemptingRetry([](HTTPRetryResult<JSONResponse<User>> result) { … });
///     const auto result = co_await GetUser().sendAttemptingRetry();
///
/// | you write                                  | default                                                           |
/// |--------------------------------------------|-------------------------------------------------------------------|
/// | `retryInterval`: seconds or a duration     | none; the fixed part of every wait. 1 s with a `retryPolicy`      |
/// | `retryLimit`: integer                      | none; see below                                                   |
/// | `retryDelta`: whole seconds                | 1; by so much each wait is longer than the one before             |
/// | `retryPolicy`: `HTTPRetryPolicy`           | every failure is retried, after exactly that wait                 |
/// | `shouldRetry(const Response&) const`       | true; called for a failure that would be retried                  |
///
/// The properties may be static, stored or computed. An exception from one of them, or from the type's own `send`, ends
/// the attempts with a response that has this error. An attempt is a `send` of the type: so mocks and a custom `send`
/// are retried, too. An attempt has failed when its response's `result` has an error.
///
/// **The rule.** Attempts count from 0. A failed one is followed by another as long as its number is not above
/// `retryLimit`; so there are at most `retryLimit` + 2, and for a negative limit one. After attempt n the wait is
/// `retryInterval` + n x `retryDelta` seconds (a product beyond 64 bits, or an interval that is not a number, ends the
/// process), or what the policy says in place of that. The result then is:
/// - `noFailure` with the response, when it was attempt 0, whether that failed or not;
/// - `totalFailure` with all responses, when it was attempt number `retryLimit`: even though that one succeeded, and
///   also where `shouldRetry`, the policy or, if that allows it, a cancellation ended it;
/// - `partialFailure` with the last response and those before, otherwise; so, too, when all attempts failed.
///
/// Attempts never overlap. Decisions are made on a queue of the send's own, waits pass without holding a thread, and
/// the completion is called once, on its queue (absent: the main queue). It is never called when `shouldSend` is false.
///
/// **Of a polling type** `sendAttemptingRetry` starts polling, if the type does not poll yet, and fires a poll, which
/// is itself retrying; when even that fails, it is repeated by the same rule. Handlers of the polling hear of each.
template <class Self>
class HTTPRetryAttempting : public detail::RetryMark {
 public:
  /// Holds the type to its other base classes, when the first value is made.
  constexpr HTTPRetryAttempting() noexcept(detail::checkSelf<Self, HTTPRetryAttempting>()) {
    detail::checkAdoption<Self>();
  }

  /// By how many seconds the wait grows with each failed attempt. Default: 1.
  static std::int64_t retryDelta() { return 1; }
  /// Changes to the rule above. Default: none.
  static HTTPRetryPolicy retryPolicy() { return {}; }
  /// Called on `retryQueue` after each failed attempt that would be retried; false ends the attempts. Default: true.
  template <class Response>
  bool shouldRetry(const Response&) const {
    return true;
  }
  /// A new serial queue with every call, on which the decisions of one send are made.
  platform::DispatchQueue retryQueue() const { return detail::makeRetryQueue(); }

  /// Called once with what came of the attempts.
  template <class Request = Self>
  using RetryCompletion =
      std::type_identity_t<platform::UniqueFunction<void(HTTPRetryResult<detail::ResponseOf<Request>>)>>;

  template <class Request = Self>
  void sendAttemptingRetry(std::optional<platform::DispatchQueue> queue, RetryCompletion<Request> completion) const {
    begin<Request>({.queue = std::move(queue)}, {}, std::move(completion));
  }
  /// The same with the completion on the main queue.
  template <class Request = Self>
  void sendAttemptingRetry(RetryCompletion<Request> completion) const {
    sendAttemptingRetry<Request>(platform::DispatchQueue::main(), std::move(completion));
  }
  /// The same with a future, which is completed on the caller's queue, if there is one. It never fails: the result has
  /// the outcome of all attempts. `Future::cancel` ends the whole send, independently of the policy's `isCancelable`.
  template <class Request = Self>
  velisand::Future<HTTPRetryResult<detail::ResponseOf<Request>>> sendAttemptingRetry() const {
    return sendAttemptingRetry<Request>(SendOptions());
  }
  /// The same with options by name. Stop and deadline are those of the whole, attempts and waits; either ends it at
  /// once, with a response that says so. Of a download or an upload, the progress of each attempt is told.
  template <class Request = Self, std::same_as<SendOptions> Options = SendOptions>
  void sendAttemptingRetry(Options options, RetryCompletion<Request> completion) const {
    begin<Request>(options, {}, std::move(completion));
  }
  template <class Request = Self, std::same_as<SendOptions> Options = SendOptions>
  velisand::Future<HTTPRetryResult<detail::ResponseOf<Request>>> sendAttemptingRetry(Options options) const;

  // Chosen for what is no completion; does not compile.
  template <class Request = Self>
  void sendAttemptingRetry(detail::NoRetryCompletion<RetryCompletion<Request>>) const {}
  template <class Request = Self>
  void sendAttemptingRetry(std::optional<platform::DispatchQueue>,
                           detail::NoRetryCompletion<RetryCompletion<Request>>) const {}
  template <class Request = Self, std::same_as<SendOptions> Options = SendOptions>
  void sendAttemptingRetry(Options, detail::NoRetryCompletion<RetryCompletion<Request>>) const {}

  /// For polling types: a retrying send outside of the polling whose completion gets the one response that counts,
  /// the successful one of the result, or else the last.
  template <class Request = Self>
  void sendFromPoll(std::optional<platform::DispatchQueue> queue, detail::CompletionOf<Request> completion,
                    HTTPProgressHandler progress = {}) const;
  // Chosen for what is no completion; does not compile.
  template <class Request = Self>
  void sendFromPoll(std::optional<platform::DispatchQueue>, detail::NoCompletion<detail::CompletionOf<Request>>,
                    HTTPProgressHandler = {}) const {}

 private:
  template <class Request>
  void begin(const SendOptions& options, detail::SharedBounds bounds, RetryCompletion<Request> completion) const;
  const Self& self() const { return static_cast<const Self&>(*this); }
};

template <class Self>
template <class Request>
void HTTPRetryAttempting<Self>::begin(const SendOptions& options, detail::SharedBounds bounds,
                                      RetryCompletion<Request> completion) const {
  if constexpr (detail::isValidRequest<Request> && detail::checkRetry<Request>()) {
    constexpr auto kind = detail::Polls<Request> ? detail::RetryKind::poll : detail::RetryKind::send;
    if constexpr (detail::Polls<Request>) {
      if (!Request::isPolling()) Request::poll();
    }
    detail::TypedRetryRun<Request>::begin(self(), kind, options, detail::SendBounds::add(std::move(bounds), options),
                                          std::move(completion));
  }
}

template <class Self>
template <class Request, std::same_as<SendOptions> Options>
auto HTTPRetryAttempting<Self>::sendAttemptingRetry(Options options) const
    -> velisand::Future<HTTPRetryResult<detail::ResponseOf<Request>>> {
  using Result = HTTPRetryResult<detail::ResponseOf<Request>>;
  const auto future = detail::openFuture<Result>(options.queue);
  begin<Request>(options, detail::SendBounds::by(future.stopToken()),
                 [future](Result result) { future.markCompletion(std::move(result)); });
  return future;
}

template <class Self>
template <class Request>
void HTTPRetryAttempting<Self>::sendFromPoll(std::optional<platform::DispatchQueue> queue,
                                             detail::CompletionOf<Request> completion,
                                             HTTPProgressHandler progress) const {
  static_assert(detail::Polls<Request>, "`sendFromPoll` is for request types that are HTTPPolling, too");
  if constexpr (detail::isValidRequest<Request> && detail::checkRetry<Request>() && detail::Polls<Request>) {
    using Response = detail::ResponseOf<Request>;
    const detail::SharedBounds bounds = completion.bounds();
    auto deliver = [queue, completion = std::move(completion)](HTTPRetryResult<Response> result) mutable {
      velisand::async(
          queue, [completion = std::move(completion), response = detail::responseOfPoll(std::move(result))]() mutable {
            if (completion) completion(std::move(response));
          });
    };
    const SendOptions options{.queue = std::move(queue), .progress = std::move(progress)};
    detail::TypedRetryRun<Request>::begin(self(), detail::RetryKind::fromPoll, options, bounds, std::move(deliver));
  }
}

}  // namespace corvane
