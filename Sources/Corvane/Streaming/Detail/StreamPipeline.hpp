#pragma once

#include <memory>

#include "Corvane/Streaming/Detail/StreamSource.hpp"
#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

/// The route of `sendToNetwork` for a response that is streamed: its status is judged as soon as the head is here. The
/// consumer takes the body of an acceptable one; the beginning of another becomes the body of the error's response.
/// The completion is called when the consumer has concluded the source, or where there is none.
CORVANE_API void streamFromNetwork(std::shared_ptr<SendExchange> exchange, std::shared_ptr<StreamConsumer> consumer);

}  // namespace corvane::detail
