#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "Corvane/Behaviours/HTTPRetryPolicy.hpp"
#include "Corvane/Transport/Detail/SendBounds.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Velisand/Detail/WeakStop.hpp"

namespace corvane::detail {

/// What follows an attempt.
enum class RetryStep { retry, noFailure, totalFailure, partialFailure };

/// The rule: `failCount` attempts failed before this one.
CORVANE_API RetryStep stepAfter(std::int64_t failCount, std::int64_t limit, bool hasFailed);

struct RetryNumbers {
  double interval;
  std::int64_t limit;
  std::int64_t delta;
};

/// `interval` + `failures` x `delta` seconds. Traps when the product overflows, and for an interval that is not a
/// number.
CORVANE_API double namedWait(const RetryNumbers& numbers, std::int64_t failures);

/// A fresh serial queue for the decisions of one retrying send.
CORVANE_API platform::DispatchQueue makeRetryQueue();

/// One retrying send: attempts that never overlap, and the waits between them. Lives as long as an attempt or a wait
/// refers to it. The typed shell (`TypedRetryRun`) knows requests and responses.
class CORVANE_API RetryRun : public std::enable_shared_from_this<RetryRun> {
 public:
  virtual ~RetryRun();
  RetryRun(const RetryRun&) = delete;
  RetryRun& operator=(const RetryRun&) = delete;

  void start();

 protected:
  /// `uuid` is absent for a request that cannot be cancelled.
  RetryRun(HTTPRetryPolicy policy, std::optional<platform::UUID> uuid, SharedBounds bounds);

  /// The last attempt's response is there. Decides what follows; on the queue of the caller.
  void decide();

  virtual RetryNumbers numbers() const = 0;
  virtual std::int64_t failCount() const = 0;
  /// Starts an attempt, which calls `decide` once. What it throws is that attempt's outcome.
  virtual void sendOnce() = 0;
  // Of the last response:
  virtual bool hasFailed() const = 0;
  /// Whether it says that the stop of the whole ended the attempt.
  virtual bool tellsOfStop() const = 0;
  virtual bool isWorthRetrying() const = 0;
  virtual std::optional<platform::HTTPHeaderFields> headers() const = 0;
  /// Puts it with the failed ones.
  virtual void keepFailure() = 0;
  /// Puts a response that holds this error in its place.
  virtual void putFailure(platform::Error error) = 0;
  /// Hands all to the caller, asynchronously. Called once.
  virtual void deliver(RetryStep result) = 0;
  /// An attempt that could not be begun, or cannot be judged, fails with what was thrown; nothing follows it.
  void fail(platform::Error error);

  const HTTPRetryPolicy& policy() const { return policy_; }
  /// Of every attempt.
  const SharedBounds& bounds() const { return bounds_; }
  /// The same for the one that begins now. Only the first one may be served by what is stored.
  SharedBounds boundsOfAttempt() const { return failCount() == 0 ? bounds_ : SendBounds::repetition(bounds_); }

 private:
  friend class velisand::detail::WeakStop<RetryRun>;
  enum class Phase { attempt, wait, over };

  void attempt();
  void takeNextStep();
  void waitThenRetry();
  void wasStopped() noexcept;
  bool leaveWait(Phase next);
  const SendBounds& limits() const { return SendBounds::of(bounds_); }
  void finish(RetryStep result);
  void finishStopped();

  const HTTPRetryPolicy policy_;
  /// Under which `cancel()` reaches the whole.
  const std::optional<platform::UUID> uuid_;
  const SharedBounds bounds_;
  std::atomic<Phase> phase_ = Phase::attempt;
  /// As it was when the attempt started.
  std::int64_t limit_ = 0;
  /// Ends a wait. Destroyed first.
  velisand::detail::WeakStop<RetryRun> stopping_;
};

}  // namespace corvane::detail
