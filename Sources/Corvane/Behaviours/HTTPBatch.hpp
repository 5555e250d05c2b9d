#pragma once

#include <atomic>
#include <concepts>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Corvane/Behaviours/Detail/BatchRun.hpp"
#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/BehaviourMisuses.hpp"
#include "Corvane/Behaviours/Detail/ThreadSafeArray.hpp"
#include "Corvane/Behaviours/HTTPBatchMode.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Platform/Detail/RequiredMemory.hpp"

namespace corvane {

namespace detail {

/// The requests' own type. `Requests` may be a reference.
template <class Requests>
using RequestOf = std::remove_cvref_t<decltype(*std::begin(std::declval<Requests&>()))>;

template <class Requests>
concept Range = requires(Requests& requests) {
  std::begin(requests);
  std::end(requests);
};
template <class Requests>
concept RequestRange = Range<Requests> && AnyRequest<RequestOf<Requests>>;

/// A batch of one request type. The requests are copies.
template <class Request>
class TypedBatchRun final : public BatchRun {
 public:
  using Response = typename Request::Response;
  using Update = platform::UniqueFunction<void(const Request&, const Response&)>;
  using Completion = platform::UniqueFunction<void(std::vector<Response>)>;

  TypedBatchRun(std::vector<Request> requests, const SendOptions& options, SharedBounds bounds, Update update,
                Completion completion)
      : BatchRun(options.queue, std::move(bounds)),
        progress_(options.progress),
        requests_(std::move(requests)),
        update_(std::move(update)),
        completion_(std::move(completion)) {
    responses_.reserve(requests_.size());
    states_.reserve(requests_.size());
    while (states_.size() < requests_.size()) states_.push_back(std::make_shared<ItemState>());
  }

 private:
  std::size_t count() const override { return requests_.size(); }
  double timeoutInterval(std::size_t index) const override { return timeoutInSeconds(requests_[index]); }
  void send(std::size_t index, platform::Block whenDone) override {
    const ItemCompletion completion = completionFor(index, std::move(whenDone));
    try {
      sendByForm(requests_[index], completionQueue(), progress_, {completion, bounds()});
    } catch (...) {
      // Others of the batch are under way: it is too late to throw.
      platform::detail::requiringMemory("the failure of a request in a batch cannot be told", [&] {
        deliverFailure<Response>(completionQueue(), completion, platform::Error::current());
      });
    }
  }
  void fail(std::size_t index, platform::Error error, platform::Block whenDone) override {
    deliverFailure<Response>(completionQueue(), completionFor(index, std::move(whenDone)), std::move(error));
  }
  void keepTimeout() override {
    responses_.append(Response(std::nullopt, std::nullopt, nullptr,
                               platform::Error(HTTPResponseError::unacceptableStatus(HTTPStatus::requestTimeout))));
  }
  void complete() override {
    if (completion_) completion_(responses_.take());
  }

  /// Where one request stands. They are made before the first is sent, so that a response needs no memory to count.
  struct ItemState {
    std::atomic_flag isDone;
    platform::Block whenDone;
  };

  /// What is called with the response of a request. Of a send that calls it and throws, too, one counts.
  struct ItemCompletion {
    void operator()(Response response) const {
      if (state->isDone.test_and_set()) return;
      if (run->update_) run->update_(run->requests_[index], response);
      run->responses_.append(std::move(response));
      state->whenDone();
    }

    std::shared_ptr<TypedBatchRun> run;
    std::size_t index;
    std::shared_ptr<ItemState> state;
  };

  ItemCompletion completionFor(std::size_t index, platform::Block whenDone) {
    auto state = std::move(states_[index]);
    state->whenDone = std::move(whenDone);
    return {std::static_pointer_cast<TypedBatchRun>(shared_from_this()), index, std::move(state)};
  }

  const HTTPProgressHandler progress_;
  const std::vector<Request> requests_;
  /// Of those that are not sent yet.
  std::vector<std::shared_ptr<ItemState>> states_;
  Update update_;
  Completion completion_;
  ThreadSafeArray<Response> responses_;
};

template <class Request>
void sendBatch(std::vector<Request> requests, const SendOptions& options, SharedBounds bounds, HTTPBatchMode mode,
               typename TypedBatchRun<Request>::Update update, typename TypedBatchRun<Request>::Completion completion) {
  if (requests.empty()) {
    velisand::async(options.queue, [completion = std::move(completion)]() mutable {
      if (completion) completion({});
    });
    return;
  }
  std::make_shared<TypedBatchRun<Request>>(std::move(requests), options, SendBounds::add(std::move(bounds), options),
                                           std::move(update), std::move(completion))
      ->start(mode);
}

template <class Request>
auto sendBatch(std::vector<Request> requests, SendOptions options, HTTPBatchMode mode,
               typename TypedBatchRun<Request>::Update update) {
  using Responses = std::vector<typename Request::Response>;
  const auto future = openFuture<Responses>(options.queue);
  sendBatch(std::move(requests), options, SendBounds::by(future.stopToken()), mode, std::move(update),
            [future](Responses responses) { future.markCompletion(std::move(responses)); });
  return future;
}

/// In place of an update or a completion whose type cannot be deduced.
struct AnyCallback {
  AnyCallback() = default;
  template <class Callback>
  AnyCallback(Callback&&) {}  // NOLINT(google-explicit-constructor)
};

/// What a batch is sent with before its mode.
template <class T>
concept QueueOrOptions = std::same_as<T, SendOptions> || std::convertible_to<T, std::optional<platform::DispatchQueue>>;

/// Says in a sentence what a batch is not.
template <class Requests>
constexpr void refuseBatch() {
  static_assert(RequestRange<Requests>,
                "What is sent as a batch is a list of requests of one type; the elements of this one are no requests");
}

template <class Requests>
std::vector<RequestOf<Requests>> collected(Requests&& requests) {
  std::vector<RequestOf<Requests>> list;
  for (auto&& request : requests) list.push_back(std::forward<decltype(request)>(request));
  return list;
}

}  // namespace detail

/// Sends a list of requests of one type: any range of them, such as a `std::vector`, `std::span`, `std::array`, a view
/// or a list in braces. Each is sent as `request.send(queue, completion)` does. Returns at once; the requests are
/// copied.
///
///     send(requests, DispatchQueue::main(), true, {}, [](std::vector<DataResponse> responses) { … });
///     const auto responses = co_await send(requests, HTTPBatchMode::parallel(8));
///
/// - `queue`: the queue of every `update` and of the completion. Absent: `update` is called on the main queue; the
///   completion on the global queue for a parallel batch, or else on the main queue.
/// - `mode`: `true`, or `HTTPBatchMode::parallel()`: all at once; `false`, or `HTTPBatchMode::serial()`: one after
///   another.
/// - `update`: called with each request and its response, as responses arrive; may be empty. On a concurrent queue
///   several calls may overlap.
/// - `completion`: called once, with all responses in the order in which they arrived, failures included. For an empty
///   list of requests, the list of responses is empty.
///
/// **Serial batches** of the process run one after another; they hold no thread. Each request has its
/// `timeoutInterval`, truncated to whole seconds, to complete. (Less than a second leaves no time; an interval that is
/// not finite, or exceeds 64 bits, ends the process.) After that, a response with
/// `HTTPResponseError::unacceptableStatus(requestTimeout)` takes its place, without a call of `update`, and the next
/// request is sent. The late request continues: when its response arrives, `update` is called with it, even after the
/// completion, and the response is added to the list unless the list has been delivered. So there may be more responses
/// than requests, and objects that `update` refers to must outlive the requests, not only the batch.
///
/// A request with a false `shouldSend` never completes. In a serial batch it times out. A parallel batch sends the
/// other requests but never ends: the completion is not called, and the future is not completed.
template <detail::RequestRange Requests>
void send(Requests&& requests, std::optional<platform::DispatchQueue> queue, HTTPBatchMode mode,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update update,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Completion completion) {
  detail::sendBatch(detail::collected(requests), {.queue = std::move(queue)}, {}, mode, std::move(update),
                    std::move(completion));
}
/// The same with options by name. Stop and deadline are those of the whole batch: either ends the requests under way,
/// and keeps the others from being sent; each has a response that says so. A progress handler is told of every download
/// or upload, of several at a time.
template <detail::RequestRange Requests, std::same_as<SendOptions> Options = SendOptions>
void send(Requests&& requests, Options options, HTTPBatchMode mode,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update update,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Completion completion) {
  detail::sendBatch(detail::collected(requests), options, {}, mode, std::move(update), std::move(completion));
}
template <AnyRequest Request>
void send(std::initializer_list<Request> requests, std::optional<platform::DispatchQueue> queue, HTTPBatchMode mode,
          typename detail::TypedBatchRun<Request>::Update update,
          typename detail::TypedBatchRun<Request>::Completion completion) {
  detail::sendBatch(std::vector(requests), {.queue = std::move(queue)}, {}, mode, std::move(update),
                    std::move(completion));
}
template <AnyRequest Request, std::same_as<SendOptions> Options = SendOptions>
void send(std::initializer_list<Request> requests, Options options, HTTPBatchMode mode,
          typename detail::TypedBatchRun<Request>::Update update,
          typename detail::TypedBatchRun<Request>::Completion completion) {
  detail::sendBatch(std::vector(requests), options, {}, mode, std::move(update), std::move(completion));
}

/// The same with a future of the list. It never fails, and is completed on the caller's queue, if there is one.
/// `Future::cancel` cancels the requests under way, and the others are not sent; the response of each is
/// `HTTPResponseError::taskCancelled`.
template <detail::RequestRange Requests>
auto send(Requests&& requests, HTTPBatchMode mode,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update update = {})
    -> velisand::Future<std::vector<typename detail::RequestOf<Requests>::Response>> {
  return detail::sendBatch(detail::collected(requests), SendOptions(), mode, std::move(update));
}
template <detail::RequestRange Requests, std::same_as<SendOptions> Options = SendOptions>
auto send(Requests&& requests, Options options, HTTPBatchMode mode,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update update = {})
    -> velisand::Future<std::vector<typename detail::RequestOf<Requests>::Response>> {
  return detail::sendBatch(detail::collected(requests), std::move(options), mode, std::move(update));
}
template <AnyRequest Request>
auto send(std::initializer_list<Request> requests, HTTPBatchMode mode,
          typename detail::TypedBatchRun<Request>::Update update = {})
    -> velisand::Future<std::vector<typename Request::Response>> {
  return detail::sendBatch(std::vector(requests), SendOptions(), mode, std::move(update));
}
template <AnyRequest Request, std::same_as<SendOptions> Options = SendOptions>
auto send(std::initializer_list<Request> requests, Options options, HTTPBatchMode mode,
          typename detail::TypedBatchRun<Request>::Update update = {})
    -> velisand::Future<std::vector<typename Request::Response>> {
  return detail::sendBatch(std::vector(requests), std::move(options), mode, std::move(update));
}

// Chosen for what is no update, or no completion; do not compile.

template <detail::RequestRange Requests, detail::QueueOrOptions Where = SendOptions>
void send(Requests&&, Where, HTTPBatchMode, detail::AnyCallback,
          detail::NoBatchCompletion<typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Completion>) {}
template <detail::RequestRange Requests, detail::QueueOrOptions Where = SendOptions>
void send(Requests&&, Where, HTTPBatchMode,
          detail::NoUpdate<typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update>,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Completion) {}
template <detail::RequestRange Requests>
void send(Requests&&, HTTPBatchMode,
          detail::NoUpdate<typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update>) {}
template <detail::RequestRange Requests, std::same_as<SendOptions> Options = SendOptions>
void send(Requests&&, Options, HTTPBatchMode,
          detail::NoUpdate<typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update>) {}
template <AnyRequest Request, detail::QueueOrOptions Where = SendOptions>
void send(std::initializer_list<Request>, Where, HTTPBatchMode, detail::AnyCallback,
          detail::NoBatchCompletion<typename detail::TypedBatchRun<Request>::Completion>) {}
template <AnyRequest Request, detail::QueueOrOptions Where = SendOptions>
void send(std::initializer_list<Request>, Where, HTTPBatchMode,
          detail::NoUpdate<typename detail::TypedBatchRun<Request>::Update>,
          typename detail::TypedBatchRun<Request>::Completion) {}
template <AnyRequest Request>
void send(std::initializer_list<Request>, HTTPBatchMode,
          detail::NoUpdate<typename detail::TypedBatchRun<Request>::Update>) {}
template <AnyRequest Request, std::same_as<SendOptions> Options = SendOptions>
void send(std::initializer_list<Request>, Options, HTTPBatchMode,
          detail::NoUpdate<typename detail::TypedBatchRun<Request>::Update>) {}

// Lists of anything else are refused with a sentence, in place of a list of candidates.

template <detail::Range Requests>
  requires(!detail::RequestRange<Requests>)
void send(Requests&&, std::optional<platform::DispatchQueue>, HTTPBatchMode, detail::AnyCallback, detail::AnyCallback) {
  detail::refuseBatch<Requests>();
}

template <detail::Range Requests>
  requires(!detail::RequestRange<Requests>)
void send(Requests&&, HTTPBatchMode, detail::AnyCallback = {}) {
  detail::refuseBatch<Requests>();
}

}  // namespace corvane
