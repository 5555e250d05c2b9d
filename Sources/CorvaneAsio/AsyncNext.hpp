// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {
namespace asio_detail {

/// Cancels a sequence while it lives.
template <class Item>
struct SequenceStop {
  void operator()() const noexcept {
    if (const auto source = stopped.lock()) source->cancel();
  }

  std::weak_ptr<detail::ItemSource<Item>> stopped;
};

template <class Item>
auto nextStarterOf(std::shared_ptr<detail::ItemSource<Item>> source) {
  return [source = std::move(source)](std::shared_ptr<Outcome<std::optional<Item>>> outcome, std::stop_token stop) {
    const auto stopping = std::make_shared<std::stop_callback<SequenceStop<Item>>>(stop, SequenceStop<Item>{source});
    detail::ItemWait<Item>::next(source).whenCompleted(
        velisand::inlineExecutor(),
        [outcome = std::move(outcome), stopping](const velisand::Result<std::optional<Item>>& result) {
          if (const auto* error = result.error()) {
            outcome->complete(exceptionOf(*error), std::nullopt);
          } else {
            outcome->complete(nullptr, *result.value());
          }
        });
  };
}

}  // namespace asio_detail

/// Asks a streamed response for its next item, as an asynchronous operation of Asio with any completion token. The
/// signature is `void(std::exception_ptr, std::optional<Item>)`; the item is absent at the end.
///
///     auto stream = request.stream();
///     while (const auto piece = co_await async_next(stream, asio::use_awaitable)) use(*piece);
///
/// It is `next()` of any `HTTPSequence`: a body, lines, models, events. Everything else is as `async_send` says. The
/// cancellation of the operation, and the end of the context, cancel the whole sequence.
template <class Item, class Token>
decltype(auto) async_next(HTTPSequence<Item>& sequence, Token&& token) {
  return asio_detail::initiate<std::optional<Item>>(asio_detail::DefaultExecutor(), std::forward<Token>(token),
                                                    asio_detail::nextStarterOf<Item>(sequence.source()));
}
template <asio_detail::IsExecutorOrContext Target, class Item, class Token>
decltype(auto) async_next(Target&& target, HTTPSequence<Item>& sequence, Token&& token) {
  return asio_detail::initiate<std::optional<Item>>(asio_detail::executorOf(target), std::forward<Token>(token),
                                                    asio_detail::nextStarterOf<Item>(sequence.source()));
}

}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
