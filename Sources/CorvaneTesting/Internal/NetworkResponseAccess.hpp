#pragma once

#include <optional>

#include "CorvaneTesting/NetworkResponse.hpp"
#include "Platform/Loading/Internal/ExchangeSource.hpp"
#include "Platform/Networking/Failure.hpp"

namespace corvane::testkit::detail {

/// What the loading layer makes of a `NetworkResponse`.
struct NetworkResponseAccess {
  static platform::detail::SourcedResponse sourced(const NetworkResponse& response);
  static platform::detail::SourcedResponse failed(platform::Error error);
  /// Present where no byte of the request leaves.
  static std::optional<platform::networking::Failure> failureBeforeSending(const NetworkResponse& response);
  /// A connection that takes longer than the request allows.
  static platform::networking::Failure connectTimeout();
  static double delay(const NetworkResponse& response) { return response.delay_; }
};

}  // namespace corvane::testkit::detail
