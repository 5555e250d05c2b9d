#pragma once

#include <concepts>
#include <stop_token>
#include <utility>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Velisand/Future.hpp"

namespace velisand {

namespace detail {
/// A moment of a clock that never goes back, such as `std::chrono::steady_clock::time_point`.
template <class Time>
concept SteadyMoment = requires(const Time& time) {
  requires Time::clock::is_steady;
  { time - Time::clock::now() } -> std::convertible_to<platform::Seconds>;
};
}  // namespace detail

/// A future that succeeds after so long: seconds, or a `std::chrono` duration. No thread waits for it.
///
///     co_await sleepFor(500ms);
///
/// It is completed at once without a positive duration, and never by itself with an infinite one. When it is cancelled,
/// or the stop is requested, it fails at once, with "NSURLErrorDomain" -999. The time is that of `asyncAfter`, which a
/// test may stop. (The name is not `sleep`, as the system has a function of that name that blocks the thread.)
CORVANE_API Future<void> sleepFor(platform::Seconds duration, std::stop_token stop = {});

/// The same until a moment of a steady clock: `std::chrono::steady_clock::time_point`.
template <detail::SteadyMoment Time>
Future<void> sleepUntil(const Time& moment, std::stop_token stop = {}) {
  return sleepFor(platform::Seconds(moment - Time::clock::now()), std::move(stop));
}

}  // namespace velisand
