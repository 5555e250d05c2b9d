// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {

/// Lets a context of Asio drain the library's main queue as long as this object exists: completions for which no queue
/// was named run on a thread that runs the context.
///
///     asio::io_context context;
///     const AsioMainLoop mainLoop(context);
///     request.send([&](DataResponse response) { …; context.stop(); });
///     context.run();
///
/// It is work for the context: `run()` does not return before `stop()` or `detach()`, even if nothing is under way. Any
/// thread can wake the context; nothing is polled. The context may be destroyed first; then the main queue is not
/// drained any more. Blocks that are pending at the end wait for the next loop that drains the main queue. Only one
/// loop at a time can drain it; a second one traps.
class AsioMainLoop {
 public:
  /// Drains the main queue on the threads of an executor. Throws `std::bad_alloc`.
  template <asio_detail::IsExecutor Executor>
  explicit AsioMainLoop(const Executor& executor) : attachment_(asio_detail::Submission<Executor>(executor)) {}
  /// Drains the main queue on the threads that run the context.
  template <asio_detail::IsContext Context>
  explicit AsioMainLoop(Context& context) : AsioMainLoop(context.get_executor()) {}

  /// Ends the attachment early. May be called on any thread, also inside a block of the main queue.
  void detach() { attachment_.detach(); }

 private:
  platform::MainQueueAttachment attachment_;
};

}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
