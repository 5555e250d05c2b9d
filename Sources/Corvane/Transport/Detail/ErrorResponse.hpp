#pragma once

#include <memory>
#include <optional>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace corvane::detail {

/// Gives the error of a failed exchange the response that came, unless it has one. Does nothing without an error or
/// an HTTP response.
CORVANE_API void attachResponse(platform::Error* error, const std::shared_ptr<const platform::URLResponse>& response,
                                const std::optional<platform::Data>& body);
/// The same for what a finished task hands back, with its metrics. Of a body that was downloaded, its first 64 KiB are
/// read.
CORVANE_API void attachResponse(platform::Error* error, const TaskOutcome& outcome);

}  // namespace corvane::detail
