#pragma once

#include <atomic>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Corvane/Behaviours/Detail/BatchRun.hpp"
#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
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

  TypedBatchRun(std::vector<Request> requests, std::optional<platform::DispatchQueue> queue, Update update,
                Completion completion)
      : BatchRun(std::move(queue)),
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
      sendViaRequest(requests_[index], completionQueue(), completion);
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

  const std::vector<Request> requests_;
  /// Of those that are not sent yet.
  std::vector<std::shared_ptr<ItemState>> states_;
  Update update_;
  Completion completion_;
  ThreadSafeArray<Response> responses_;
};

template <class Request>
void sendBatch(std::vector<Request> requests, std::optional<platform::DispatchQueue> queue, HTTPBatchMode mode,
               typename TypedBatchRun<Request>::Update update, typename TypedBatchRun<Request>::Completion completion) {
  if (requests.empty()) {
    velisand::async(queue, [completion = std::move(completion)]() mutable {
      if (completion) completion({});
    });
    return;
  }
  std::make_shared<TypedBatchRun<Request>>(std::move(requests), std::move(queue), std::move(update),
                                           std::move(completion))
      ->start(mode);
}

template <class Request>
auto sendBatch(std::vector<Request> requests, HTTPBatchMode mode, typename TypedBatchRun<Request>::Update update) {
  using Responses = std::vector<typename Request::Response>;
  auto queue = velisand::currentQueue();
  const auto future = queue ? velisand::Future<Responses>::completedOn(*queue) : velisand::Future<Responses>();
  const SendCancellation::Scope scope(cancellationOf(future));
  sendBatch(std::move(requests), std::move(queue), mode, std::move(update),
            [future](Responses responses) { future.markCompletion(std::move(responses)); });
  return future;
}

/// In place of an update or a completion whose type cannot be deduced.
struct AnyCallback {
  AnyCallback() = default;
  template <class Callback>
  AnyCallback(Callback&&) {}  // NOLINT(google-explicit-constructor)
};

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
/// - `queue`: where every response and, in the end, the list is delivered. Absent: responses on the main queue; the
///   list on the global queue for a parallel batch, on the main queue otherwise.
/// - `mode`: `true`, or `HTTPBatchMode::parallel()`: all at once; `false`, or `HTTPBatchMode::serial()`: one after
///   another.
/// - `update`: called with each request and its response, as they come; may be empty. On a concurrent queue several
///   calls may overlap.
/// - `completion`: called once, with all responses in the order in which they came, failures included. An empty list
///   of requests gives an empty list of responses.
///
/// **Serial batches** of the process run one after another; no thread is held meanwhile. Each request gets its
/// `timeoutInterval`, cut to whole seconds, to answer (so less than a second is no time at all; an interval that is
/// not finite, or beyond 64 bits, ends the process). Then a response with
/// `HTTPResponseError::unacceptableStatus(requestTimeout)` takes its place, without an `update`, and the next request
/// is sent. The late one goes on: when its response comes, `update` is called with it, also after the completion, and
/// it joins the list, unless that was delivered already. So there may be more responses than requests, and what
/// `update` refers to must outlive the requests, not only the batch.
///
/// A request whose `shouldSend` is false never answers: in a serial batch it times out, and a parallel one sends the
/// others but never ends: neither is the completion called nor the future completed.
template <detail::RequestRange Requests>
void send(Requests&& requests, std::optional<platform::DispatchQueue> queue, HTTPBatchMode mode,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update update,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Completion completion) {
  detail::sendBatch(detail::collected(requests), std::move(queue), mode, std::move(update), std::move(completion));
}
template <AnyRequest Request>
void send(std::initializer_list<Request> requests, std::optional<platform::DispatchQueue> queue, HTTPBatchMode mode,
          typename detail::TypedBatchRun<Request>::Update update,
          typename detail::TypedBatchRun<Request>::Completion completion) {
  detail::sendBatch(std::vector(requests), std::move(queue), mode, std::move(update), std::move(completion));
}

/// The same with a future of the list, which never fails, and is completed on the caller's queue, where there is one.
/// `Future::cancel` cancels the requests under way and keeps the others from being sent; each has a response that says
/// so.
template <detail::RequestRange Requests>
auto send(Requests&& requests, HTTPBatchMode mode,
          typename detail::TypedBatchRun<detail::RequestOf<Requests>>::Update update = {})
    -> velisand::Future<std::vector<typename detail::RequestOf<Requests>::Response>> {
  return detail::sendBatch(detail::collected(requests), mode, std::move(update));
}
template <AnyRequest Request>
auto send(std::initializer_list<Request> requests, HTTPBatchMode mode,
          typename detail::TypedBatchRun<Request>::Update update = {})
    -> velisand::Future<std::vector<typename Request::Response>> {
  return detail::sendBatch(std::vector(requests), mode, std::move(update));
}

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
