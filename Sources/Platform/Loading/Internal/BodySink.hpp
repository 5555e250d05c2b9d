#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Platform/Loading/Internal/LoadFailure.hpp"

namespace platform::detail {

using Bytes = std::span<const std::byte>;

/// Takes the body of a response, decoded, as it arrives. Loop side.
class BodySink {
 public:
  virtual ~BodySink() = default;
  /// A failure ends the exchange.
  virtual std::optional<LoadFailure> take(Bytes bytes) = 0;
};

}  // namespace platform::detail
