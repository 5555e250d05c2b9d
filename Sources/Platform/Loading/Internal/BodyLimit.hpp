#pragma once

#include <cstdint>
#include <limits>

#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace platform::detail {

/// How many bytes a body may have. The session's bound is for memory: what goes to a file takes none.
inline std::int64_t bodyLimit(const URLRequest& request, const URLSessionConfiguration& configuration,
                              bool goesToFile) {
  if (request.maximumBodyBytes) return *request.maximumBodyBytes;
  return goesToFile ? std::numeric_limits<std::int64_t>::max() : configuration.maximumBodyBytes;
}

}  // namespace platform::detail
