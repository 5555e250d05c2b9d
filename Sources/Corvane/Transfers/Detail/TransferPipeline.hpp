#pragma once

#include <memory>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

// The route of `sendToNetwork` with another kind of task. The relay is null when there is no progress handler.

/// The response is written to a file, which gets a temporary directory of its own and the name that the response
/// suggests. It is removed when the response does not hand it on.
CORVANE_API void download(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay);
/// The body is sent from a file or from memory.
CORVANE_API void upload(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay);

}  // namespace corvane::detail
