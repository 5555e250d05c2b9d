#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/PollingRegistry.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

namespace detail {

/// A type-level requirement: a static member, function or data.
template <class Member, class Value>
concept ReadsStatically = (IsStaticFunction<Member> || IsStaticData<Member>) && requires(Member member) {
  { read(member, 0) } -> std::convertible_to<Value>;
};

template <class Self>
concept MakesItself = requires {
  { Self::make() } -> std::convertible_to<std::optional<Self>>;
};

template <class Self>
inline constexpr bool canBePolled = (MakesItself<Self> || std::default_initializable<Self>) && requires {
  requires ReadsStatically<decltype(&Self::pollingRate), platform::Seconds>;
  requires ReadsStatically<decltype(&Self::shouldFirePoll), bool>;
};

template <class Self>
constexpr bool checkPolling() {
  static_assert(
      MakesItself<Self> || std::default_initializable<Self>,
      "A polling type makes a fresh request for each tick: give it a constructor without arguments, or `static "
      "std::optional<Self> make()`, which may have none to give");
  static_assert(
      requires { requires ReadsStatically<decltype(&Self::pollingRate), platform::Seconds>; },
      "`pollingRate` belongs to the type and must be a number of seconds or a std::chrono duration: write `static "
      "constexpr double pollingRate = 60`, or `static double pollingRate()`");
  static_assert(
      requires { requires ReadsStatically<decltype(&Self::shouldFirePoll), bool>; },
      "`shouldFirePoll` belongs to the type and must be a bool: write `static bool shouldFirePoll()`, or a static "
      "member of that type");
  return canBePolled<Self>;
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

/// Lets a request type be sent again and again, on a fixed period, and tell everyone who asked what came back.
/// Polling belongs to the type: there is one timer and one list of handlers for it in the process.
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
/// A tick comes on the global queue, the first one a `pollingRate` after `poll`. It takes the single route of the type:
/// the test's response, the mock's or the network; retrying, if the type is an `HTTPRetryAttempting`. The handlers are
/// called with its response on the main queue, in the order in which they came. Ticks do not wait for each other.
///
/// **Threads.** All functions may be called on any thread, and from handlers; none waits for a handler or a tick. Once
/// `stopPolling` has returned, no tick begins, and on the queue that handlers run on (the main queue, for ticks) none
/// is called. A tick or a handler that is under way on another thread then is not waited for: such a tick may still
/// send its request, of whose response no handler hears. What `make`, `shouldFirePoll` and handlers throw ends the
/// process, with a message that names the queue.
template <class Self>
class HTTPPolling : public detail::PollingMark {
 public:
  /// Holds the type to the requirements of polling, when the first value is made.
  constexpr HTTPPolling() noexcept(detail::checkSelf<Self, HTTPPolling>()) { detail::checkAdoption<Self>(); }

  /// Called with the request and its response. Calls may overlap where requests are sent by hand, for one handler
  /// serves all queues that they name.
  template <class Request = Self>
  using Handler =
      std::type_identity_t<platform::UniqueFunction<void(const Request&, const detail::ResponseOf<Request>&)>>;

  /// Seconds between two ticks; write it as a static member of any numeric or duration type. Default: 300.
  static double pollingRate() { return 300; }
  /// Asked at each tick, on the global queue: whether it sends a request. Default: true.
  static bool shouldFirePoll() { return true; }
  /// For the type's own use; the library does not call it.
  template <class Response>
  void received(const Response&) const {}

  /// Starts polling; registers the handler. A type that polls already goes on as it does, with one handler more.
  template <class Request = Self>
  static void poll(Handler<Request> handler);
  /// The same without a handler: responses are received and dropped.
  template <class Request = Self>
  static void poll() {
    start<Request>(std::nullopt);
  }
  template <class Request = Self>
  static void poll(std::nullptr_t) {
    start<Request>(std::nullopt);
  }
  /// Registers one more handler. Logs a fault, and does nothing else, when the type does not poll.
  template <class Request = Self>
  static void addPollingHandler(Handler<Request> handler) {
    detail::addPollingHandler(typeid(Self), erased<Request>(std::move(handler)));
  }
  /// Stops polling and forgets the handlers. Logs a fault, and does nothing else, when the type does not poll.
  static void stopPolling() { detail::stopPolling(typeid(Self)); }
  /// Whether ticks come at present. Any thread.
  static bool isPolling() { return detail::isPolling(typeid(Self)); }

  /// What `send` of such a type does: one exchange now, of which the handlers and then the completion are told, on the
  /// queue (absent: the main queue). The timer pauses meanwhile; a tick that came due comes when it is over. Of several
  /// at a time, the first to be over ends the pause.
  /// `progress` is the handler of a transfer, or nothing.
  template <class Request = Self, class... Progress>
  static void firePoll(const Request& request, std::optional<platform::DispatchQueue> queue,
                       detail::CompletionOf<Request> completion, Progress... progress);
  /// The same for types that are `HTTPRetryAttempting`: a retrying send, and of its attempts the one that counts.
  template <class Request = Self>
  static void firePollForRetryable(const Request& request, std::optional<platform::DispatchQueue> queue,
                                   detail::CompletionOf<Request> completion);

 private:
  template <class Request>
  static std::optional<detail::AnyPollingHandler> erased(Handler<Request> handler);
  template <class Request>
  static void start(std::optional<detail::AnyPollingHandler> handler);
  template <class Request>
  static void processTimerInvocation(const detail::TimerHandler& timer);
  /// Tells the handlers, then the completion.
  template <class Request>
  static detail::CompletionOf<Request> handling(const Request& request, detail::CompletionOf<Request> completion);
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
void HTTPPolling<Self>::start(std::optional<detail::AnyPollingHandler> handler) {
  if constexpr (detail::isValidRequest<Request> && detail::checkPolling<Request>()) {
    const platform::Seconds rate = detail::read(&Request::pollingRate, 0);
    detail::startPolling(typeid(Self), rate.count(), &processTimerInvocation<Request>, std::move(handler));
  }
}

template <class Self>
template <class Request>
void HTTPPolling<Self>::processTimerInvocation(const detail::TimerHandler& timer) {
  if (!detail::isPollingWith(typeid(Self), timer)) return;
  const std::optional<Request> request = detail::madeForPoll<Request>();
  if (!request || !detail::read(&Request::shouldFirePoll, 0)) return;
  // What was asked just now may have stopped the polling.
  if (!detail::isPollingWith(typeid(Self), timer)) return;
  auto completion = handling<Request>(*request, [](const auto&) {});
  if constexpr (detail::Retries<Request>) {
    request->sendFromPoll(platform::DispatchQueue::main(), std::move(completion));
  } else {
    detail::dispatchSingleSend(*request, platform::DispatchQueue::main(), std::move(completion));
  }
}

template <class Self>
template <class Request>
detail::CompletionOf<Request> HTTPPolling<Self>::handling(const Request& request,
                                                          detail::CompletionOf<Request> completion) {
  using Response = detail::ResponseOf<Request>;
  using Told = std::pair<const Request&, const Response&>;
  return [request, completion = std::move(completion)](Response response) mutable {
    const Told told(request, response);
    detail::callPollingHandlers(typeid(Self), typeid(Handler<Request>), &told, [](void* handler, const void* argument) {
      const auto& [sent, received] = *static_cast<const Told*>(argument);
      (*static_cast<Handler<Request>*>(handler))(sent, received);
    });
    completion(std::move(response));
  };
}

template <class Self>
template <class Request, class... Progress>
void HTTPPolling<Self>::firePoll(const Request& request, std::optional<platform::DispatchQueue> queue,
                                 detail::CompletionOf<Request> completion, Progress... progress) {
  if constexpr (detail::isValidRequest<Request> && detail::checkPolling<Request>()) {
    // Ends with the completion, also where that is dropped without being called.
    auto paused = [pause = std::make_unique<detail::PollingPause>(typeid(Self)),
                   completion = std::move(completion)](detail::ResponseOf<Request> response) mutable {
      pause.reset();
      if (completion) completion(std::move(response));
    };
    detail::dispatchSingleSend(request, std::move(queue), handling<Request>(request, std::move(paused)),
                               std::move(progress)...);
  }
}

template <class Self>
template <class Request>
void HTTPPolling<Self>::firePollForRetryable(const Request& request, std::optional<platform::DispatchQueue> queue,
                                             detail::CompletionOf<Request> completion) {
  static_assert(detail::Retries<Request>, "`firePollForRetryable` is for request types that are HTTPRetryAttempting");
  if constexpr (detail::isValidRequest<Request> && detail::checkPolling<Request>() && detail::Retries<Request>) {
    auto paused = [pause = std::make_unique<detail::PollingPause>(typeid(Self)),
                   completion = std::move(completion)](detail::ResponseOf<Request> response) mutable {
      pause.reset();
      if (completion) completion(std::move(response));
    };
    request.sendFromPoll(std::move(queue), handling<Request>(request, std::move(paused)));
  }
}

}  // namespace corvane
