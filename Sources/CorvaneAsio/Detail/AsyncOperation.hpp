// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {
namespace asio_detail {

/// A handler that waits for its result, in memory of its own allocator.
template <class Value, class Handler, class Executor>
struct Waiting {
  Waiting(Handler&& given, const Executor& executor) : handler(std::move(given)), work(executor) {}

  struct Deleter {
    void operator()(Waiting* waiting) const { free(waiting, allocatorOf(waiting->handler)); }
  };
  using Owner = std::unique_ptr<Waiting, Deleter>;
  using Allocator =
      typename std::allocator_traits<CORVANE_ASIO::associated_allocator_t<Handler>>::template rebind_alloc<Waiting>;

  static void free(Waiting* waiting, Allocator allocator) {
    std::destroy_at(waiting);
    std::allocator_traits<Allocator>::deallocate(allocator, waiting, 1);
  }
  static Allocator allocatorOf(const Handler& handler) {
    return Allocator(CORVANE_ASIO::get_associated_allocator(handler));
  }
  static Owner make(Handler&& handler, const Executor& executor) {
    auto allocator = allocatorOf(handler);
    Waiting* target = std::allocator_traits<Allocator>::allocate(allocator, 1);
    try {
      return Owner(std::construct_at(target, std::move(handler), executor));
    } catch (...) {
      std::allocator_traits<Allocator>::deallocate(allocator, target, 1);
      throw;
    }
  }

  /// The handler, once the memory is returned.
  static Handler take(Owner owner) {
    Handler handler = std::move(owner->handler);
    Waiting* const waiting = owner.release();
    // One that was moved from may not tell its allocator any more.
    free(waiting, allocatorOf(handler));
    return handler;
  }

  Handler handler;
  CORVANE_ASIO::executor_work_guard<Executor> work;
  std::exception_ptr error;
  std::optional<Value> value;
};

/// Calls the handler, on its executor. The memory is returned first, so that the handler may use it anew.
template <class Value, class Handler, class Executor>
class Delivery {
 public:
  using Of = Waiting<Value, Handler, Executor>;
  using executor_type = Executor;
  using allocator_type = CORVANE_ASIO::associated_allocator_t<Handler>;

  explicit Delivery(typename Of::Owner waiting) : waiting_(std::move(waiting)) {}

  executor_type get_executor() const noexcept { return waiting_->work.get_executor(); }
  allocator_type get_allocator() const noexcept { return CORVANE_ASIO::get_associated_allocator(waiting_->handler); }

  void operator()() {
    CORVANE_ASIO::get_associated_cancellation_slot(waiting_->handler).clear();
    const auto work = std::move(waiting_->work);
    std::exception_ptr error = std::move(waiting_->error);
    Value value = *std::move(waiting_->value);
    Handler handler = Of::take(std::move(waiting_));
    std::move(handler)(std::move(error), std::move(value));
  }

 private:
  typename Of::Owner waiting_;
};

/// What a send is started with: it is told of the end of the send, once.
template <class Value>
class Outcome {
 public:
  virtual ~Outcome() = default;
  virtual void complete(std::exception_ptr error, Value value) = 0;
  /// Runs the block on the handler's executor, unless the handler is gone.
  virtual void submit(platform::Block block) = 0;

  /// While the send is started: an exception then leaves by `async_send`, and the handler is not called.
  std::atomic<bool> isStarting = true;
};

/// One send under way: keeps the handler at its context until the send ends, or the context.
template <class Value, class Handler, class Executor>
class Operation final : public Outcome<Value>, public detail::ContextGate::Slot {
 public:
  using Of = Waiting<Value, Handler, Executor>;

  Operation(std::shared_ptr<detail::ContextGate> gate, typename Of::Owner waiting)
      : gate_(std::move(gate)), waiting_(std::move(waiting)) {}

  const std::stop_source& stop() const { return stop_; }

  void complete(std::exception_ptr error, Value value) override {
    gate_->takeOut(*this, [&] {
      waiting_->error = std::move(error);
      waiting_->value.emplace(std::move(value));
      CORVANE_ASIO::post(Delivery<Value, Handler, Executor>(std::move(waiting_)));
    });
  }
  void submit(platform::Block block) override {
    gate_->use(*this, [&] { CORVANE_ASIO::post(waiting_->work.get_executor(), std::move(block)); });
  }
  /// The context has ended, and with it the handler: the response is not needed any more.
  void shutdown() override {
    stop_.request_stop();
    waiting_.reset();
  }

 private:
  const std::shared_ptr<detail::ContextGate> gate_;
  std::stop_source stop_;
  typename Of::Owner waiting_;
};

/// Starts an operation: the starter gets the outcome that it has to complete, and the stop that it has to heed.
template <class Value, class Handler, class Fallback, class Starter>
void begin(Handler handler, const Fallback& fallback, const Starter& starter) {
  const auto executor = CORVANE_ASIO::get_associated_executor(handler, fallback);
  using Executor = std::remove_const_t<decltype(executor)>;
  using Of = Operation<Value, Handler, Executor>;

  const auto gate = gateOf(executor);
  auto slot = CORVANE_ASIO::get_associated_cancellation_slot(handler);
  const auto operation = std::make_shared<Of>(gate, Of::Of::make(std::move(handler), executor));
  if (slot.is_connected()) {
    using Type = CORVANE_ASIO::cancellation_type;
    slot.assign([stop = operation->stop()](Type type) mutable {
      // Not for `total`: the server may have acted on what was sent.
      if ((type & (Type::terminal | Type::partial)) != Type::none) stop.request_stop();
    });
  }
  if (!gate->admit(operation)) return;
  try {
    starter(std::shared_ptr<Outcome<Value>>(operation), operation->stop().get_token());
  } catch (...) {
    // What was started already may know the operation for longer than the context lives.
    if (gate->takeOut(*operation, [] {})) operation->shutdown();
    throw;
  }
  operation->isStarting = false;
}

/// A function object that completes an outcome by what it is called with; where it is dropped without being called, as
/// by a request that should not be sent, by a cancellation.
template <class Value, class Translation>
class Completion {
 public:
  Completion(std::shared_ptr<Outcome<Value>> outcome, Translation translation)
      : outcome_(std::move(outcome)), translation_(std::move(translation)) {}
  Completion(Completion&&) noexcept = default;
  Completion& operator=(Completion&&) = delete;
  ~Completion() {
    if (!outcome_ || (outcome_->isStarting && std::uncaught_exceptions() > exceptions_)) return;
    translation_(*outcome_);
  }

  template <class Result>
  void operator()(Result result) {
    if (const auto outcome = std::exchange(outcome_, nullptr)) translation_(*outcome, std::move(result));
  }

 private:
  std::shared_ptr<Outcome<Value>> outcome_;
  [[no_unique_address]] Translation translation_;
  int exceptions_ = std::uncaught_exceptions();
};

inline std::exception_ptr exceptionOf(const platform::Error& error) { return std::make_exception_ptr(error); }
inline platform::Error cancelled() { return HTTPResponseError::taskCancelled(); }

}  // namespace asio_detail
}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
