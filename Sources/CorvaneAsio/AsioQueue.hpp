// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {

/// A serial completion queue whose blocks run on an executor of Asio: that of an `io_context` or a `thread_pool`, or a
/// strand.
///
///     asio::io_context context;
///     const AsioQueue queue(context);
///     request.send(queue, [](DataResponse response) { … });
///     context.run();
///
/// It can be used wherever a `DispatchQueue` is needed. **A `DispatchQueue` copied from it is work for the context**,
/// like an operation of Asio: `run()` does not return before the last such copy is gone, and thus not before every send
/// with this queue has called its completion. The `AsioQueue` itself is not work; so store the `AsioQueue`, not a
/// `DispatchQueue`. Copies are the same queue. May be used on any thread.
///
/// Blocks never run inside the call that submits them. They run one at a time, even if several threads run the context.
/// As on every queue, an exception that escapes a block ends the process; use `async_send` for handlers that throw.
///
/// **When the context is destroyed**, pending blocks are dropped without being run, like Asio's own handlers. Blocks
/// that are submitted later are dropped at once; a `sync` throws. A context that is only stopped keeps pending blocks
/// for the next `run()`.
class AsioQueue {
 public:
  /// A queue on this executor. The label is that of the `DispatchQueue`.
  template <asio_detail::IsExecutor Executor>
  explicit AsioQueue(const Executor& executor, std::string label = "corvane.asio")
      : state_(std::make_shared<State>(
            [target = asio_detail::Binding(asio_detail::gateOf(executor), executor), label = std::move(label)] {
              platform::DispatchQueue::Executor submission = [](platform::Block) {};
              target.use([&](const Executor& held) { submission = asio_detail::Submission<Executor>(held); });
              return platform::DispatchQueue(label, std::move(submission));
            })) {}
  /// A queue on the threads that run the context.
  template <asio_detail::IsContext Context>
  explicit AsioQueue(Context& context, std::string label = "corvane.asio")
      : AsioQueue(context.get_executor(), std::move(label)) {}

  /// The `DispatchQueue`, which is work for the context.
  platform::DispatchQueue queue() const {
    const platform::detail::MutexLock lock(state_->mutex);
    // Without handles nothing is left of the previous queue, neither blocks nor copies.
    if (auto core = state_->core.lock()) return platform::DispatchQueue(std::move(core));
    auto made = state_->make();
    state_->core = made.core();
    return made;
  }
  /// The same as an implicit conversion.
  operator platform::DispatchQueue() const { return queue(); }  // NOLINT(google-explicit-constructor)

 private:
  struct State {
    explicit State(platform::UniqueFunction<platform::DispatchQueue()> maker) : make(std::move(maker)) {}

    platform::detail::Mutex mutex;
    std::weak_ptr<platform::detail::QueueCore> core CORVANE_GUARDED_BY(mutex);
    platform::UniqueFunction<platform::DispatchQueue()> make CORVANE_GUARDED_BY(mutex);
  };

  std::shared_ptr<State> state_;
};

}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
