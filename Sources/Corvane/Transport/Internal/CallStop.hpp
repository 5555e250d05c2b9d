#pragma once

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <stop_token>

#include "Corvane/Transport/Deadline.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"

namespace corvane::detail {

/// A stop of a call's own. It is requested when a deadline passes, or with those that it follows.
class CallStop : public std::enable_shared_from_this<CallStop> {
 public:
  CallStop() = default;
  CallStop(const CallStop&) = delete;
  CallStop& operator=(const CallStop&) = delete;

  // Once each, before the stop is handed out.

  /// `reason` knows why that one is requested; null: it is a cancellation.
  void follow(const std::stop_token& stop, std::shared_ptr<const CallStop> reason = nullptr);
  void follow(std::shared_ptr<const CallStop> other);
  /// Requests it so many seconds from now.
  void endAfter(double seconds);

  std::stop_token token() const { return source_.get_token(); }
  const std::stop_source& source() const { return source_; }
  /// Whether a deadline was the reason.
  bool isOverdue() const { return !std::isnan(limit()); }
  /// How long the call was given, in seconds. Requires: `isOverdue`.
  double limit() const { return limit_.load(std::memory_order_acquire); }
  void request() const;

 private:
  /// Passes a request on.
  struct Follower {
    void operator()() const noexcept;

    std::weak_ptr<CallStop> self;
    std::shared_ptr<const CallStop> reason;
  };
  using Following = std::stop_callback<Follower>;

  void overdue(double limit);

  const std::stop_source source_;
  /// No number until the deadline passes.
  std::atomic<double> limit_ = std::numeric_limits<double>::quiet_NaN();
  std::optional<platform::DispatchTimer> timer_;
  // Destroyed first: their callbacks refer to the rest.
  std::optional<Following> first_, second_, third_;
};

}  // namespace corvane::detail
