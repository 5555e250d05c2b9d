#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/BehaviourMisuses.hpp"
#include "Corvane/Behaviours/Detail/PollingRegistry.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

namespace detail {

template <class Self>
concept MakesItself = requires {
  { Self::make() } -> std::convertible_to<std::optional<Self>>;
};

template <class Self>
constexpr bool checkPolling() {
  constexpr bool canBeMade = MakesItself<Self> || std::default_initializable<Self>;
  static_assert(
      canBeMade,
      "A polling type makes a fresh request for each tick: give it a constructor without arguments, or `static "
      "std::optional<Self> make()`, which may have none to give");
  return canBeMade && check<Self>(requirement::pollingRate, requirement::shouldFirePoll);
}

template <class Self>
std::optional<Self> madeForPoll() {
  if constexpr (MakesItself<Self>) {
    return Self::make();
  } else {
    return Self();
  }
}

}  // namespace detail

/// Sends requests of a type periodically, and calls all registered handlers with each response. Polling belongs to the
/// type: there is one timer and one list of handlers for it in the process.
///
///     struct GetNews : JSONGetRequestable<GetNews, News>, HTTPPolling<GetNews> {
///       static constexpr double pollingRate = 60;
///       …
///     };
///
///     GetNews::poll([](const GetNews&, const JSONResponse<News>& response) { … });  // every 60 s, on the main queue
///     GetNews().send(completion);                                                  // one more now; handlers hear, too
///     GetNews::stopPolling();
///
/// | you may write                                            | default                                         |
/// |----------------------------------------------------------|-------------------------------------------------|
/// | `pollingRate`, static: seconds or a duration             | 300 s; at least 1 ms, traps when not a number    |
/// | `shouldFirePoll`, static: `bool`, asked at every tick    | true; false leaves the tick out                 |
/// | `static std::optional<Self> make()`, or `static Self`    | the constructor without arguments; the request  |
/// |                                                          | of a tick. Absent leaves the tick out           |
///
/// Ticks run on the global queue, the first one a `pollingRate` after `poll`. A tick takes the route of the type: the
/// test response, the mock response or the network, with retries if the type is an `HTTPRetryAttempting`. The handlers
/// are called with its response on the main queue, in the order of their registration. Ticks do not wait for each
/// other.
///
/// **Threads.** All functions may be called on any thread, and from handlers; none waits for a handler or a tick. Once
/// `stopPolling` has returned, no tick begins, and on the queue that handlers run on (the main queue, for ticks) none
/// is called. A tick or a handler that is under way on another thread then is not waited for; the request of such a
/// tick is cancelled. What `make`, `shouldFirePoll` and handlers throw ends the process, with a message that names the
/// queue.
template <class Self>
class HTTPPolling : public detail::PollingMark {
 public:
  /// Checks at compile time the requirements of polling.
  constexpr HTTPPolling() noexcept(detail::checkSelf<Self, HTTPPolling>()) { detail::checkAdoption<Self>(); }

  /// Called with the request and its response. Calls may overlap if requests are sent explicitly with several
  /// completion queues.
  template <class Request = Self>
  using Handler =
      std::type_identity_t<platform::UniqueFunction<void(const Request&, const detail::ResponseOf<Request>&)>>;

  /// Seconds between two ticks; write it as a static member of any numeric or duration type. Default: 300.
  static double pollingRate() { return 300; }
  /// Whether a tick sends a request; called at each tick, on the global queue. Default: true.
  static bool shouldFirePoll() { return true; }
  /// For the type itself; the library does not call it.
  template <class Response>
  void received(const Response&) const {}

  /// Starts polling and registers the handler. A type that polls already continues, with one more handler.
  template <class Request = Self>
  static void poll(Handler<Request> handler);
  /// The same with options by name. Queue (where the handlers are called for ticks), progress handler and deadline are
  /// those of every tick; a type that polls already keeps its own. The stop of the `poll` that starts the polling ends
  /// it as `stopPolling` does; that of a later one takes its handler away.
  template <class Request = Self>
  static void poll(SendOptions options, Handler<Request> handler) {
    start<Request>(erased<Request>(std::move(handler)), options);
  }
  /// The same without a handler: responses are received and discarded.
  template <class Request = Self>
  static void poll() {
    start<Request>(std::nullopt);
  }
  template <class Request = Self>
  static void poll(std::nullptr_t) {
    start<Request>(std::nullopt);
  }
  // Chosen for what is no handler; does not compile.
  template <class Request = Self>
  static void poll(detail::NoPollingHandler<Handler<Request>>) {}
  template <class Request = Self, std::same_as<SendOptions> Options = SendOptions>
  static void poll(Options, detail::NoPollingHandler<Handler<Request>>) {}
  template <class Request = Self>
  static void addPollingHandler(detail::NoPollingHandler<Handler<Request>>) {}

  /// Registers another handler. If the type does not poll, it only logs a fault.
  template <class Request = Self>
  static void addPollingHandler(Handler<Request> handler) {
    detail::addPollingHandler(typeid(Self), erased<Request>(std::move(handler)));
  }
  /// Stops polling, cancels the ticks under way, and forgets the handlers. Logs a fault, and does nothing else, when
  /// the type does not poll.
  static void stopPolling() { detail::stopPolling(typeid(Self)); }
  /// Whether the type polls. May be called on any thread.
  static bool isPolling() { return detail::isPolling(typeid(Self)); }

  /// What `send` of such a type does: one exchange now, of which the handlers and then the completion are told, on the
  /// queue (absent: the main queue). The timer pauses meanwhile; a tick that came due comes when it is over. Of several
  /// at a time, the first to be over ends the pause. `progress` is for a transfer.
  template <class Request = Self>
  static void firePoll(const Request& request, std::optional<platform::DispatchQueue> queue,
                       detail::CompletionOf<Request> completion, HTTPProgressHandler progress = {});
  /// The same for types that are `HTTPRetryAttempting`: a retrying send, and of its attempts the one that counts.
  template <class Request = Self>
  static void firePollForRetryable(const Request& request, std::optional<platform::DispatchQueue> queue,
                                   detail::CompletionOf<Request> completion, HTTPProgressHandler progress = {});
  // Chosen for what is no completion; do not compile.
  template <class Request = Self>
  static void firePoll(const Request&, std::optional<platform::DispatchQueue>,
                       detail::NoCompletion<detail::CompletionOf<Request>>, HTTPProgressHandler = {}) {}
  template <class Request = Self>
  static void firePollForRetryable(const Request&, std::optional<platform::DispatchQueue>,
                                   detail::NoCompletion<detail::CompletionOf<Request>>, HTTPProgressHandler = {}) {}

 private:
  template <class Request>
  static std::optional<detail::AnyPollingHandler> erased(Handler<Request> handler);
  template <class Request>
  static void start(std::optional<detail::AnyPollingHandler> handler, const SendOptions& options = {});
  template <class Request>
  static void processTimerInvocation(const detail::TimerHandler& timer);
  /// Tells the handlers, then the completion.
  template <class Request>
  static detail::CompletionOf<Request> handling(const Request& request, detail::CompletionOf<Request> completion);
  /// Holds the timer until the completion is called, or dropped without being called.
  template <class Request>
  static detail::CompletionOf<Request> pausing(detail::CompletionOf<Request> completion);
};

template <class Self>
template <class Request>
void HTTPPolling<Self>::poll(Handler<Request> handler) {
  start<Request>(erased<Request>(std::move(handler)));
}

template <class Self>
template <class Request>
std::optional<detail::AnyPollingHandler> HTTPPolling<Self>::erased(Handler<Request> handler) {
  if (!handler) return std::nullopt;
  return detail::AnyPollingHandler{&typeid(Handler<Request>), std::make_shared<Handler<Request>>(std::move(handler))};
}

template <class Self>
template <class Request>
void HTTPPolling<Self>::start(std::optional<detail::AnyPollingHandler> handler, const SendOptions& options) {
  if constexpr (detail::isValidRequest<Request> && detail::checkPolling<Request>()) {
    const platform::Seconds rate = detail::requirement::pollingRate.template ofType<Request>();
    detail::startPolling(typeid(Self), rate.count(), &processTimerInvocation<Request>, std::move(handler), options);
  }
}

template <class Self>
template <class Request>
void HTTPPolling<Self>::processTimerInvocation(const detail::TimerHandler& timer) {
  if (!detail::isPollingWith(typeid(Self), timer)) return;
  const std::optional<Request> request = detail::madeForPoll<Request>();
  if (!request || !detail::requirement::shouldFirePoll(*request)) return;
  // What was asked just now may have stopped the polling.
  auto options = detail::tickOptions(typeid(Self), timer);
  if (!options) return;
  detail::CompletionOf<Request> nobody([](const auto&) {});
  nobody.add(*options);
  nobody.markAsRepetition();
  auto queue = std::move(options->queue).value_or(platform::DispatchQueue::main());
  auto completion = handling<Request>(*request, std::move(nobody));
  if constexpr (detail::Retries<Request>) {
    request->sendFromPoll(std::move(queue), std::move(completion), std::move(options->progress));
  } else {
    detail::dispatchSingleSend(*request, std::move(queue), std::move(options->progress), std::move(completion));
  }
}

template <class Self>
template <class Request>
detail::CompletionOf<Request> HTTPPolling<Self>::handling(const Request& request,
                                                          detail::CompletionOf<Request> completion) {
  using Response = detail::ResponseOf<Request>;
  using Told = std::pair<const Request&, const Response&>;
  return std::move(completion).wrapping([request](detail::CompletionOf<Request>& inner, Response response) {
    const Told told(request, response);
    detail::callPollingHandlers(typeid(Self), typeid(Handler<Request>), &told, [](void* handler, const void* argument) {
      const auto& [sent, received] = *static_cast<const Told*>(argument);
      (*static_cast<Handler<Request>*>(handler))(sent, received);
    });
    inner(std::move(response));
  });
}

template <class Self>
template <class Request>
detail::CompletionOf<Request> HTTPPolling<Self>::pausing(detail::CompletionOf<Request> completion) {
  auto pause = std::make_unique<detail::PollingPause>(typeid(Self));
  return std::move(completion)
      .wrapping([pause = std::move(pause)](detail::CompletionOf<Request>& inner,
                                           detail::ResponseOf<Request> response) mutable {
        pause.reset();
        if (inner) inner(std::move(response));
      });
}

template <class Self>
template <class Request>
void HTTPPolling<Self>::firePoll(const Request& request, std::optional<platform::DispatchQueue> queue,
                                 detail::CompletionOf<Request> completion, HTTPProgressHandler progress) {
  if constexpr (detail::isValidRequest<Request> && detail::checkPolling<Request>()) {
    auto told = handling<Request>(request, pausing<Request>(std::move(completion)));
    detail::dispatchSingleSend(request, std::move(queue), std::move(progress), std::move(told));
  }
}

template <class Self>
template <class Request>
void HTTPPolling<Self>::firePollForRetryable(const Request& request, std::optional<platform::DispatchQueue> queue,
                                             detail::CompletionOf<Request> completion, HTTPProgressHandler progress) {
  static_assert(detail::Retries<Request>, "`firePollForRetryable` is for request types that are HTTPRetryAttempting");
  if constexpr (detail::isValidRequest<Request> && detail::checkPolling<Request>() && detail::Retries<Request>) {
    auto told = handling<Request>(request, pausing<Request>(std::move(completion)));
    request.sendFromPoll(std::move(queue), std::move(told), std::move(progress));
  }
}

}  // namespace corvane
