#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Streaming/Detail/StreamRoute.hpp"
#include "Corvane/Streaming/HTTPBodyStream.hpp"
#include "Corvane/Streaming/HTTPStreamResponse.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// Lets a request hand out the body of its response while it arrives.
///
/// | you write                                   | you get                                            |
/// |---------------------------------------------|----------------------------------------------------|
/// | `HTTPStreaming<Feed>` as a base             | `stream()`: the pieces of the body, asked for      |
/// | `maximumBodyBytes`, if there is to be one   | `stream(queue, handler, completion)`: handed over  |
///
///     struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed> {
///       URL url = "https://example.com/feed";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///
///     auto stream = Feed().stream();
///     while (const auto piece = co_await stream.next()) use(*piece);
///
/// **Back-pressure.** The transport reads at most 256 KiB ahead of what was used up, as they come over the network,
/// plus what one read delivers (64 KiB), and then stops reading until half of it is used up. Over HTTP/2 the server may
/// use up the window of the stream first (4 MiB); other requests on the connection go on. While the consumer holds it
/// up, the idle time-out stands still; a deadline does not.
///
/// What holds for `send` holds here: `shouldSend`, `validate()`, `isAcceptable`, the session, the options of the call,
/// `HTTPRequestCancelable`, debug output (without the body), mocks, whose bytes come in pieces. A status that is not
/// acceptable is the same error, with the first 64 KiB of the body in `error.response()`. The hooks for a response
/// (`process`, `validate(response)`) are not called; nor does a retrying or polling request repeat a stream. There is
/// no limit on the body, unless the request has a `maximumBodyBytes`. A file URL cannot be streamed (-1002).
template <class Self>
class HTTPStreaming {
 public:
  /// Takes each piece of the body, decoded from its content codings: of 1 byte to 64 KiB.
  using StreamHandler = platform::UniqueFunction<void(platform::Data)>;
  /// Takes the end of the exchange.
  using StreamCompletion = SendCompletion<HTTPStreamResponse>;

  /// Checks at compile time that the mixin was given the type that derives from it.
  constexpr HTTPStreaming() noexcept(detail::checkSelf<Self, HTTPStreaming>()) {}

  /// Sends the request. The stream gives the pieces one after the other, to a coroutine, to a thread that blocks
  /// (`stream.next().get()`), or to a callback. Errors come from it; this throws `std::bad_alloc` alone. When
  /// `shouldSend` is false, it fails with `HTTPResponseError::taskCancelled`. The options' queue and progress handler
  /// are not used.
  HTTPBodyStream stream() const { return streamForPieces(detail::noOptions()); }
  template <std::same_as<SendOptions> Options = SendOptions>
  HTTPBodyStream stream(Options options) const {
    return streamForPieces(options);
  }

  /// Sends the request. The handler gets the pieces on the queue (absent: the main queue), in order, one at a time, and
  /// the transport goes on as it returns. Then the completion is called once, on the same queue, with how it ended: it
  /// is the only call where the response has no body or is not acceptable. May be called on any thread; calls nothing
  /// itself. To end it early, use the stop of a `SendOptions`, or `HTTPRequestCancelable`, which does
  /// nothing once the whole body has arrived.
  void stream(std::optional<platform::DispatchQueue> queue, StreamHandler handler, StreamCompletion completion) const;
  /// The same with options by name; their progress handler is not used.
  template <std::same_as<SendOptions> Options = SendOptions>
  void stream(Options options, StreamHandler handler, StreamCompletion completion) const {
    completion.add(options);
    stream(std::move(options.queue), std::move(handler), std::move(completion));
  }

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
  HTTPBodyStream streamForPieces(const SendOptions& options) const;
};

template <class Self>
void HTTPStreaming<Self>::stream(std::optional<platform::DispatchQueue> queue, StreamHandler handler,
                                 StreamCompletion completion) const {
  if constexpr (detail::canBeStreamed<Self>()) {
    auto pump = std::make_shared<detail::StreamPump>(queue, std::move(handler));
    detail::dispatchStream(self(), {}, std::move(queue), std::move(pump), std::move(completion));
  }
}

template <class Self>
HTTPBodyStream HTTPStreaming<Self>::streamForPieces(const SendOptions& options) const {
  if constexpr (detail::canBeStreamed<Self>()) return HTTPBodyStream(detail::streamCore(self(), {}, options));
  detail::unreachable();
}

}  // namespace corvane
