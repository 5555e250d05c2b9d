#pragma once

#include <cstdint>
#include <string>

namespace platform::detail {

/// Why a load cannot succeed: a code of `URLErrorCode` and one sentence for developers.
struct LoadFailure {
  std::int32_t code = 0;
  std::string message;
  friend bool operator==(const LoadFailure&, const LoadFailure&) = default;
};

}  // namespace platform::detail
