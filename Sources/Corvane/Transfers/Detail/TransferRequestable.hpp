#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Request/Detail/Misuses.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Transfers/Detail/TransferPipeline.hpp"
#include "Corvane/Transfers/TransferFuture.hpp"
#include "Corvane/Transport/HTTPProgress.hpp"

namespace corvane::detail {

/// The route of the pipeline that a request takes.
using TransferRoute = void (*)(std::shared_ptr<SendExchange>, std::shared_ptr<ProgressRelay>);

/// What downloads and uploads have in common: they are sent with a progress handler.
template <class Self, class ResponseType, TransferRoute route>
class TransferRequestable : public HTTPRequestable<Self, ResponseType>, public TransferMark {
  using Base = HTTPRequestable<Self, ResponseType>;

 public:
  using Base::send;
  using typename Base::Completion;
  using typename Base::Response;
  using TransferMixin = TransferRequestable;

  /// The same as the other forms, with progress: see `HTTPProgressHandler`. The handler may be null. A mock has no
  /// progress to tell of.
  void send(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress, Completion completion) const;
  /// The same with progress and completion on the main queue.
  void send(HTTPProgressHandler progress, Completion completion) const;
  TransferFuture<typename Base::ResponseBody> send() const;
  /// The same with options by name; their progress handler is one of the future's.
  template <std::same_as<SendOptions> Options = SendOptions>
  TransferFuture<typename Base::ResponseBody> send(Options options) const {
    return sendForFuture(std::move(options));
  }

  // Chosen for what is no completion; does not compile.
  template <class Refused = Self>
  void send(std::optional<platform::DispatchQueue>, HTTPProgressHandler, NoCompletion<Completion>) const {}
  template <class Refused = Self>
  void send(HTTPProgressHandler, NoCompletion<Completion>) const {}

  /// The plain route: validates, builds the URL request, and moves the body on a session.
  void sendToNetwork(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress,
                     Completion completion) const;
  template <std::same_as<SendOptions> Options = SendOptions>
  void sendToNetwork(Options options, Completion completion) const {
    completion.add(options);
    sendToNetwork(std::move(options.queue), std::move(options.progress), std::move(completion));
  }

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
  TransferFuture<typename Base::ResponseBody> sendForFuture(SendOptions options) const;
};

// Defined out of the class, so that the library's own request types are compiled once, in the library.

template <class Self, class ResponseType, TransferRoute route>
void TransferRequestable<Self, ResponseType, route>::send(std::optional<platform::DispatchQueue> queue,
                                                          HTTPProgressHandler progress, Completion completion) const {
  if constexpr (isValidRequest<Self>) {
    if constexpr (SendsWithOptions<Self>) {
      sendByForm(self(), std::move(queue), std::move(progress), std::move(completion));
    } else {
      dispatchSend(self(), std::move(queue), std::move(progress), std::move(completion));
    }
  }
}

template <class Self, class ResponseType, TransferRoute route>
void TransferRequestable<Self, ResponseType, route>::send(HTTPProgressHandler progress, Completion completion) const {
  self().send(platform::DispatchQueue::main(), std::move(progress), std::move(completion));
}

template <class Self, class ResponseType, TransferRoute route>
auto TransferRequestable<Self, ResponseType, route>::send() const -> TransferFuture<typename Base::ResponseBody> {
  return sendForFuture(detail::noOptions());
}

template <class Self, class ResponseType, TransferRoute route>
auto TransferRequestable<Self, ResponseType, route>::sendForFuture(SendOptions options) const
    -> TransferFuture<typename Base::ResponseBody> {
  auto outcome = SendFuture<Response>::make(options);
  TransferFuture<typename Base::ResponseBody> future(std::move(outcome.future));
  const auto handlers = future.handlers();
  handlers->append(outcome.queue, std::move(options.progress));
  Completion completion = std::move(outcome.completion).wrapping([handlers](Completion& inner, Response response) {
    handlers->end();
    inner(std::move(response));
  });
  sendByForm(self(), std::move(outcome.queue), HTTPProgressHandler(handlers), std::move(completion));
  return future;
}

template <class Self, class ResponseType, TransferRoute route>
void TransferRequestable<Self, ResponseType, route>::sendToNetwork(std::optional<platform::DispatchQueue> queue,
                                                                   HTTPProgressHandler progress,
                                                                   Completion completion) const {
  const auto relay = progressRelay(std::move(progress));
  if (relay) {
    completion = std::move(completion).wrapping([relay](Completion& inner, Response response) {
      end(*relay, [inner = std::move(inner), response = std::move(response)]() mutable {
        if (inner) inner(std::move(response));
      });
    });
  }
  if (auto sent = TypedExchange<Self>::make(self(), std::move(queue), std::move(completion))) {
    route(std::move(sent), relay);
  }
}

}  // namespace corvane::detail
