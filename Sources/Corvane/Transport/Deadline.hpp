#pragma once

#include <concepts>
#include <memory>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace corvane {

namespace detail {

class CallStop;
struct SendBounds;

/// A moment of a clock that never goes back, such as `std::chrono::steady_clock::time_point`.
template <class Time>
concept SteadyTime = requires(const Time& time) {
  requires Time::clock::is_steady;
  { time - Time::clock::now() } -> std::convertible_to<platform::Seconds>;
};

}  // namespace detail

/// When a call has to be over: a number of seconds or a `std::chrono` duration, which begin when it is sent, or a
/// moment of `std::chrono::steady_clock`. The default is none. One that has passed ends the call at once.
///
///     request.send({.deadline = 5}).get();                        // seconds
///     request.send({.deadline = std::chrono::minutes(2)}).get();
class CORVANE_API Deadline {
 public:
  /// There is none.
  Deadline() noexcept = default;
  /// So long after the call was sent.
  template <std::convertible_to<platform::Seconds> Time>
  Deadline(const Time& afterSending)  // NOLINT(google-explicit-constructor): a time is a deadline
      : time_(platform::Seconds(afterSending).count()), kind_(Kind::afterSending) {}
  /// At that moment.
  template <detail::SteadyTime Time>
  Deadline(const Time& moment)  // NOLINT(google-explicit-constructor): a time is a deadline
      : time_(sinceStart() + platform::Seconds(moment - Time::clock::now()).count()), kind_(Kind::moment) {}

  /// Whether there is one.
  explicit operator bool() const noexcept { return kind_ != Kind::none; }

 private:
  enum class Kind { none, afterSending, moment, running };
  friend class detail::CallStop;
  friend struct detail::SendBounds;

  explicit Deadline(std::shared_ptr<const detail::CallStop> running)
      : kind_(running ? Kind::running : Kind::none), running_(std::move(running)) {}
  /// Seconds of the steady clock.
  static double sinceStart();
  /// Seconds from now. Requires: not running.
  double remaining() const;

  double time_ = 0;
  Kind kind_ = Kind::none;
  /// That of a call under way.
  std::shared_ptr<const detail::CallStop> running_;
};

}  // namespace corvane
