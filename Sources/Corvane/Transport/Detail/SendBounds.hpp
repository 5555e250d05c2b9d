#pragma once

#include <memory>
#include <optional>
#include <stop_token>

#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace corvane::detail {

struct SendBounds;
/// Null where there are none: a call without options makes none.
using SharedBounds = std::shared_ptr<const SendBounds>;

/// What ends a call early. Every send of the call shares it: attempts, polls, requests of a batch, and what a `send` of
/// a type's own makes of it.
struct CORVANE_API SendBounds {
  /// Requested by a cancellation, and when the deadline passes.
  std::stop_token stop = {};
  /// Where the stop is one of the call's own; it says why it was requested, and keeps it linked to others.
  std::shared_ptr<const CallStop> link = nullptr;
  /// Of every exchange.
  platform::Seconds connectTimeout = platform::Seconds::unlimited();
  /// See `URLRequest::isRepetition`.
  bool isRepetition = false;

  /// Those of a future or a stop alone.
  static SharedBounds by(std::stop_token stop);
  /// Bounded by these options, too.
  static SharedBounds add(SharedBounds bounds, const SendOptions& options);
  /// With a stop of its own, which is requested with that of these bounds.
  static SharedBounds child(const SharedBounds& bounds);
  /// The same for a repetition.
  static SharedBounds repetition(const SharedBounds& bounds);
  /// Without any where it is null.
  static const SendBounds& of(const SharedBounds& bounds);
  /// To send something else with.
  static SendOptions options(const SharedBounds& bounds, std::optional<platform::DispatchQueue> queue);

  /// What requests the stop. Requires: made by `child`.
  std::stop_source source() const;
  bool isStopped() const noexcept { return stop.stop_requested(); }
  /// What a send fails with whose stop was requested: -1001 where the deadline passed, with what the error that ended
  /// it tells of the request, else `HTTPResponseError::taskCancelled`.
  platform::Error error(const platform::Error* cause = nullptr) const;
  /// Whether a send that was stopped would fail with such an error.
  bool isErrorOfStop(const platform::Error& error) const;
};

/// Those of a call without options.
CORVANE_API const SendOptions& noOptions();

}  // namespace corvane::detail
