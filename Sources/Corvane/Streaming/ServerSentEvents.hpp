#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Streaming/Detail/StreamRoute.hpp"
#include "Corvane/Streaming/HTTPSequence.hpp"
#include "Corvane/Streaming/HTTPStreaming.hpp"
#include "Corvane/Streaming/ServerSentEventParser.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane {

/// How events are received, beside what `SendOptions` says.
///
///     auto events = serverSentEvents(StreamGetRequest(url), {.reconnects = true, .wait = 1, .reconnectLimit = 10});
struct ServerSentEventOptions {
  /// The stop, the deadline for all connections together, and the connect time-out of each; see `SendOptions`. Queue
  /// and progress handler are not used.
  SendOptions call = {};
  /// Whether the request is sent again when the stream ended or broke, or could not be reached. Then the end of the
  /// response is no end of the events. Default: false.
  bool reconnects = false;
  /// How long to wait before that, until the server says otherwise ("retry"). Default: 3 s.
  platform::Seconds wait = 3;
  /// How often in a row the request is sent again without an event in between; then the events end as the last response
  /// did. So 2 allows three connections that give no event. Default: no limit.
  std::optional<int> reconnectLimit = {};
  /// A longer event ends the stream with `HTTPStreamError::eventTooLong`. Default: 1 MiB.
  std::size_t maximumBytes = ServerSentEventParser::defaultMaximumBytes;
};

namespace detail {

/// Sends the request with these fields beside its own.
using StreamOpener = platform::UniqueFunction<std::shared_ptr<StreamCore>(platform::HTTPHeaderFields moreFields,
                                                                          const SendOptions& options)>;

CORVANE_API std::shared_ptr<ItemSource<ServerSentEvent>> eventSource(StreamOpener open, ServerSentEventOptions options);

}  // namespace detail

/// Sends a request for a stream of events, and gives the events.
///
///     auto events = serverSentEvents(request, {.reconnects = true});
///     while (const auto event = co_await events.next()) show(event->event, event->data);
///
/// The request goes out with "Accept: text/event-stream" and "Cache-Control: no-store". When it is sent again, it has
/// "Last-Event-ID", if the server gave its events identifiers. Errors, in addition to those of a stream:
/// `HTTPStreamError::unexpectedContentType` for a response of another type, `eventTooLong`. Neither these nor a status
/// that is not acceptable are tried again: only failures of the transport, and the end of a response. A response with
/// status 204 ends the events. An event that is not complete at the end of a response is dropped.
///
/// The idle time-out of the request (60 s) also ends a stream that is silent for that long: servers send comments to
/// prevent that.
template <class Request>
HTTPSequence<ServerSentEvent> serverSentEvents(const Request& request, ServerSentEventOptions options = {}) {
  static_assert(std::derived_from<Request, HTTPStreaming<Request>>,
                "Events come from a request that is streamed: `struct Feed : DataGetRequestable<Feed>, "
                "HTTPStreaming<Feed>`, or a StreamGetRequest");
  return HTTPSequence<ServerSentEvent>(detail::eventSource(
      [request](platform::HTTPHeaderFields moreFields, const SendOptions& call) {
        return detail::streamCore(request, std::move(moreFields), call);
      },
      std::move(options)));
}

}  // namespace corvane
