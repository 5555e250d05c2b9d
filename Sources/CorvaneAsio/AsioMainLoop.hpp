// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {

/// Has a context of Asio drain the library's main queue for as long as this lives: completions for which no queue was
/// named run on a thread that runs the context.
///
///     asio::io_context context;
///     const AsioMainLoop mainLoop(context);
///     request.send([&](DataResponse response) { …; context.stop(); });
///     context.run();
///
/// It is work for the context: `run()` goes on until `stop()` or `detach()`, also where nothing is under way. A wake-up
/// comes from any thread, and nothing is polled. The context may be destroyed first; then the main queue is not drained
/// any more. What waits there at the end stays for the next who drains it. One host's loop at a time has the main
/// queue; a second one traps.
class AsioMainLoop {
 public:
  /// On the threads that an executor runs on. Throws what making a service of its context throws: lack of memory.
  template <asio_detail::IsExecutor Executor>
  explicit AsioMainLoop(const Executor& executor) : attachment_(asio_detail::Submission<Executor>(executor)) {}
  /// On the threads that run the context.
  template <asio_detail::IsContext Context>
  explicit AsioMainLoop(Context& context) : AsioMainLoop(context.get_executor()) {}

  /// Ends it early. Any thread, also inside a block of the main queue.
  void detach() { attachment_.detach(); }

 private:
  platform::MainQueueAttachment attachment_;
};

}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
