#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Velisand/Detail/Gathering.hpp"

namespace velisand {

namespace detail {

template <class T>
class WithinTime final : public GatheringOf<T> {
  using Base = GatheringOf<T>;

 public:
  explicit WithinTime(Future<T> whole) : Base(Base::Goal::all, std::move(whole)) {}

  void await(platform::Seconds limit, const Future<T>& part) {
    this->begin(statesOf(part));
    if (!part.isCompleted()) this->limit(limit);
    Base::await(part, [this](const Result<T>& result) { result_ = result; });
  }

 private:
  void succeed() override { this->whole_.markResult(*std::move(result_)); }

  std::optional<Result<T>> result_;
};

template <class T>
Future<T> within(platform::Seconds limit, const Future<T>& part) {
  const Future<T> whole;
  std::make_shared<WithinTime<T>>(whole)->await(limit, part);
  return whole;
}

}  // namespace detail

/// Awaits a future or a task for so long: seconds, or a `std::chrono` duration. When the time is over, it is cancelled.
///
///     const auto report = co_await withTimeout(5s, buildReport());
///
/// **Success** is that of the future, also where it did not heed its cancellation and succeeded late.
/// **Failure:** when the time had passed, "NSURLErrorDomain" -1001, with a sentence that says after how many seconds
/// and with the user information of the failure that the cancellation caused; otherwise that of the future.
/// **Cancellation** of the whole cancels the future.
///
/// The whole is completed when the future has ended; see `whenAll` for what that means, and for threads. Without a
/// positive limit the future is cancelled at once unless it is completed. The time is that of `asyncAfter`.
///
/// To bound a single request, its `deadline` needs no second future: `request.send({.deadline = 5s})`.
template <class F>
  requires(detail::AnyFuture<std::remove_cvref_t<F>>)
auto withTimeout(platform::Seconds limit, F&& future) -> Future<detail::ValueIn<F>> {
  return detail::within(limit, detail::taken(std::forward<F>(future)));
}

// Chosen for what cannot be awaited; does not compile.
template <class Other>
  requires(!detail::AnyFuture<Other>)
void withTimeout(platform::Seconds, const Other&) {
  detail::refuseWhatIsNoFuture<Other>();
}

}  // namespace velisand
