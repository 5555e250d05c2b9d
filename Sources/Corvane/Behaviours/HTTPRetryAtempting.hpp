#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/PollResponse.hpp"
#include "Corvane/Behaviours/Detail/TypedRetryRun.hpp"
#include "Corvane/Behaviours/HTTPRetryPolicy.hpp"
#include "Corvane/Behaviours/HTTPRetryResult.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

namespace detail {

#define CORVANE_READS(Value, property) (requires { requires ReadsAs<decltype(&Self::property), Self, Value>; })
#define CORVANE_READS_INTEGER(property) (requires { requires ReadsAsInteger<decltype(&Self::property), Self>; })

template <class Member, class Self>
concept ReadsAsInteger = Readable<Member, Self> && requires(Member member, const Self& self) {
  requires std::integral<std::remove_cvref_t<decltype(read(member, self))>>;
  requires !std::same_as<std::remove_cvref_t<decltype(read(member, self))>, bool>;
};

template <class Self>
concept JudgesFailures = requires(const Self& self, const typename Self::Response& response) {
  { self.shouldRetry(response) } -> std::same_as<bool>;
};

template <class Self>
constexpr bool checkRetry() {
  static_assert(
      requires { &Self::retryInterval; },
      "`retryInterval` is required: write `static constexpr double retryInterval = 2`, in seconds, or `double "
      "retryInterval() const`");
  static_assert(
      !requires { &Self::retryInterval; } || CORVANE_READS(platform::Seconds, retryInterval),
      "`retryInterval` must be a number of seconds or a std::chrono duration");
  static_assert(
      requires { &Self::retryLimit; },
      "`retryLimit` is required: write `static constexpr std::int64_t retryLimit = 3`, or `std::int64_t retryLimit() "
      "const`");
  static_assert(
      !requires { &Self::retryLimit; } || CORVANE_READS_INTEGER(retryLimit), "`retryLimit` must be an integer");
  static_assert(CORVANE_READS_INTEGER(retryDelta), "`retryDelta` must be an integer: whole seconds");
  static_assert(CORVANE_READS(HTTPRetryPolicy, retryPolicy),
                "`retryPolicy` must be an HTTPRetryPolicy: write `HTTPRetryPolicy retryPolicy() const`, or a stored or "
                "static member of that type");
  static_assert(JudgesFailures<Self>, "`shouldRetry` must be `bool shouldRetry(const Response& response) const`");
  return CORVANE_READS(platform::Seconds, retryInterval) && CORVANE_READS_INTEGER(retryLimit) &&
         CORVANE_READS_INTEGER(retryDelta) && CORVANE_READS(HTTPRetryPolicy, retryPolicy) && JudgesFailures<Self>;
}

#undef CORVANE_READS
#undef CORVANE_READS_INTEGER

}  // namespace detail

/// Lets a request be sent again, after a growing wait, when it failed, and delivers all attempts at once.
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
/// | `retryInterval`: seconds or a duration     | none; the fixed part of every wait                                |
/// | `retryLimit`: integer                      | none; see below                                                   |
/// | `retryDelta`: whole seconds                | 1; by so much each wait is longer than the one before             |
/// | `retryPolicy`: `HTTPRetryPolicy`           | every failure is retried, after exactly that wait                 |
/// | `shouldRetry(const Response&) const`       | true; called for a failure that would be retried                  |
///
/// The requirements may be static, stored or computed. What they throw, or a `send` of the type's own, ends the
/// attempts with a response that holds it. An attempt is a `send`, whatever that does for the type: so mocks and
/// `send`s of your own are retried, too. An attempt has failed when its response's `result` has an error.
///
/// **The rule.** Attempts count from 0. A failed one is followed by another as long as its number is not above
/// `retryLimit`; so there are at most `retryLimit` + 2, and for a negative limit one. After attempt n the wait is
/// `retryInterval` + n x `retryDelta` seconds (a product beyond 64 bits, or an interval that is not a number, ends the
/// process). The result then is:
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
  /// How the type departs from the plain rule. Default: not at all.
  static HTTPRetryPolicy retryPolicy() { return {}; }
  /// Asked on `retryQueue` for each failed attempt, before the next: false ends the attempts. Default: true.
  template <class Response>
  bool shouldRetry(const Response&) const {
    return true;
  }
  /// A fresh serial queue with every call: where the decisions of one send are made.
  platform::DispatchQueue retryQueue() const { return detail::makeRetryQueue(); }

  template <class Request = Self>
  void sendAttemptingRetry(
      std::optional<platform::DispatchQueue> queue,
      platform::UniqueFunction<void(HTTPRetryResult<detail::ResponseOf<Request>>)> completion) const;
  /// The same with the completion on the main queue.
  template <class Request = Self>
  void sendAttemptingRetry(
      platform::UniqueFunction<void(HTTPRetryResult<detail::ResponseOf<Request>>)> completion) const {
    sendAttemptingRetry<Request>(platform::DispatchQueue::main(), std::move(completion));
  }
  /// The same with a future, which is completed on the caller's queue, where there is one. It never fails: whatever
  /// came of the attempts is in the result. `Future::cancel` ends the whole, whatever the policy says of `cancel()`.
  template <class Request = Self>
  velisand::Future<HTTPRetryResult<detail::ResponseOf<Request>>> sendAttemptingRetry() const;

  /// For polling types: a retrying send outside of the polling whose completion gets the one response that counts,
  /// the successful one of the result, or else the last.
  template <class Request = Self>
  void sendFromPoll(std::optional<platform::DispatchQueue> queue, detail::CompletionOf<Request> completion) const;

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

template <class Self>
template <class Request>
void HTTPRetryAttempting<Self>::sendAttemptingRetry(
    std::optional<platform::DispatchQueue> queue,
    platform::UniqueFunction<void(HTTPRetryResult<detail::ResponseOf<Request>>)> completion) const {
  if constexpr (detail::isValidRequest<Request> && detail::checkRetry<Request>()) {
    constexpr auto kind = detail::Polls<Request> ? detail::RetryKind::poll : detail::RetryKind::send;
    if constexpr (detail::Polls<Request>) {
      if (!Request::isPolling()) Request::poll();
    }
    detail::TypedRetryRun<Request>::begin(self(), kind, std::move(queue), std::move(completion));
  }
}

template <class Self>
template <class Request>
auto HTTPRetryAttempting<Self>::sendAttemptingRetry() const
    -> velisand::Future<HTTPRetryResult<detail::ResponseOf<Request>>> {
  using Result = HTTPRetryResult<detail::ResponseOf<Request>>;
  auto queue = velisand::currentQueue();
  const auto future = queue ? velisand::Future<Result>::completedOn(*queue) : velisand::Future<Result>();
  const SendCancellation::Scope scope(detail::cancellationOf(future));
  sendAttemptingRetry<Request>(std::move(queue), [future](Result result) { future.markCompletion(std::move(result)); });
  return future;
}

template <class Self>
template <class Request>
void HTTPRetryAttempting<Self>::sendFromPoll(std::optional<platform::DispatchQueue> queue,
                                             detail::CompletionOf<Request> completion) const {
  static_assert(detail::Polls<Request>, "`sendFromPoll` is for request types that are HTTPPolling, too");
  if constexpr (detail::isValidRequest<Request> && detail::checkRetry<Request>() && detail::Polls<Request>) {
    using Response = detail::ResponseOf<Request>;
    auto deliver = [queue, completion = std::move(completion)](HTTPRetryResult<Response> result) mutable {
      velisand::async(
          queue, [completion = std::move(completion), response = detail::responseOfPoll(std::move(result))]() mutable {
            if (completion) completion(std::move(response));
          });
    };
    detail::TypedRetryRun<Request>::begin(self(), detail::RetryKind::fromPoll, std::move(queue), std::move(deliver));
  }
}

}  // namespace corvane
