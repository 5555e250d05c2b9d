#pragma once

#include <optional>
#include <stop_token>

#include "Corvane/Transport/Deadline.hpp"
#include "Corvane/Transport/HTTPProgress.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"

namespace corvane {

/// What one call asks for beside its request, by name. Every form of sending takes it: a plain send, a download or an
/// upload, a batch, a retrying send.
///
///     request.send({.queue = queue, .stop = screen.get_token(), .deadline = 5s}, completion);
///     const auto response = request.send({.deadline = 5s, .connectTimeout = 1s}).get();
///
/// The idle time-out is a property of the request: `timeoutInterval`.
struct SendOptions {
  /// Where the completion is called. Absent, the default: on the main queue; a future is completed on the caller's
  /// queue, where there is one.
  std::optional<platform::DispatchQueue> queue = {};
  /// Cancels the call once a stop is requested: at once, in every phase, with `HTTPResponseError::taskCancelled`,
  /// unless the call was faster. Any number of calls may share one, as those of a screen that closes. Requested
  /// before, nothing reaches a server. Default: none.
  std::stop_token stop = {};
  /// Told of the bytes of a download or an upload, on the queue; see `HTTPProgressHandler`. A request that is neither
  /// has no progress, and the handler is dropped. Default: none.
  HTTPProgressHandler progress = {};
  /// When the call as a whole has to be over, with redirects, retries and their waits, waiting for a network, and
  /// queueing for a connection: it then ends with `CFNetworkErrors` -1001, unless it was faster. The server may have
  /// acted on the request. Default: none.
  Deadline deadline = {};
  /// How long it may take to have a connection, from the look-up of the name to the end of the TLS handshake, for each
  /// exchange that needs a new one: a redirect or a retry begins anew. Then that exchange fails with `CFNetworkErrors`
  /// -1001; the server has seen nothing of it. Waiting for a turn or for a verdict on the server does not count. Must
  /// be positive. Default: no limit but the idle time-out.
  platform::Seconds connectTimeout = platform::Seconds::unlimited();
};

}  // namespace corvane
