// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {

/// A serial completion queue whose blocks run on an executor of Asio: of an `io_context`, a `thread_pool`, a strand.
///
///     asio::io_context context;
///     const AsioQueue queue(context);
///     request.send(queue, [](DataResponse response) { … });
///     context.run();
///
/// It is used wherever a `DispatchQueue` is wanted. **A `DispatchQueue` made of it is work for the context**, as an
/// operation of Asio's is: `run()` goes on until the last is gone, and so until every send that was given the queue has
/// called its completion. The `AsioQueue` itself is not work; so keep this, not the `DispatchQueue`. Copies are the
/// same queue. Any thread.
///
/// Blocks never run inside the call that submits them, and one at a time, also where several threads run the context.
/// As on every queue, an exception that escapes a block ends the process; `async_send` is for handlers that throw.
///
/// **When the context is destroyed**, blocks that wait are dropped without being run, as Asio's own handlers are; those
/// that are submitted later are dropped at once; a `sync` throws. A context that is only stopped keeps them, for the
/// next `run()`.
class AsioQueue {
 public:
  /// The label shows in `DispatchQueue::label()`.
  template <asio_detail::IsExecutor Executor>
  explicit AsioQueue(const Executor& executor, std::string label = "corvane.asio")
      : state_(std::make_shared<State>(
            [target = asio_detail::Binding(asio_detail::gateOf(executor), executor), label = std::move(label)] {
              platform::DispatchQueue::Executor submission = [](platform::Block) {};
              target.use([&](const Executor& held) { submission = asio_detail::Submission<Executor>(held); });
              return platform::DispatchQueue(label, std::move(submission));
            })) {}
  /// On any thread that runs the context.
  template <asio_detail::IsContext Context>
  explicit AsioQueue(Context& context, std::string label = "corvane.asio")
      : AsioQueue(context.get_executor(), std::move(label)) {}

  /// The queue itself, which is work for the context.
  platform::DispatchQueue queue() const {
    const platform::detail::MutexLock lock(state_->mutex);
    // Without handles nothing is left of the previous queue, neither blocks nor copies.
    if (auto core = state_->core.lock()) return platform::DispatchQueue(std::move(core));
    auto made = state_->make();
    state_->core = made.core();
    return made;
  }
  /// The same, so that it can be given where a queue is wanted.
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
