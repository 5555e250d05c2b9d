#pragma once

#include <utility>

#include "Corvane/Behaviours/HTTPRetryResult.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace corvane::detail {

/// Logs, and returns the error of, a retrying send that ended without any response.
CORVANE_API platform::Error completionWithoutResponse();

/// The one response that a tick of the polling reports of a retrying send.
template <class Response>
Response responseOfPoll(HTTPRetryResult<Response> result) {
  if (auto last = std::move(result).takeLastResponse()) return *std::move(last);
  return Response(std::nullopt, std::nullopt, nullptr, completionWithoutResponse());
}

}  // namespace corvane::detail
