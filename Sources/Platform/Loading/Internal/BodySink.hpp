#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Platform/Loading/Internal/LoadFailure.hpp"

namespace platform::detail {

using Bytes = std::span<const std::byte>;

/// Takes the body of a response as it arrives. Loop side.
class BodySink {
 public:
  virtual ~BodySink() = default;
  /// Whether it undoes the content codings of the body itself, within its limit. Otherwise it gets the bytes decoded.
  virtual bool decodes() const { return false; }
  /// A failure ends the exchange.
  virtual std::optional<LoadFailure> take(Bytes bytes) = 0;
  /// Room for the next bytes where they are not decoded on their way, so that they need not be copied; may be empty. At
  /// least `count` bytes are known to follow. What was read into it is told by `filled`.
  virtual std::span<std::byte> room(std::size_t count) {
    static_cast<void>(count);
    return {};
  }
  virtual void filled(std::size_t count) { static_cast<void>(count); }
};

}  // namespace platform::detail
