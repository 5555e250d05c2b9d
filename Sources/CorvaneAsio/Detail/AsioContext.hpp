// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {
namespace asio_detail {

/// Ends the gate of a context with the context.
class ContextService final : public CORVANE_ASIO::execution_context::service {
 public:
  inline static CORVANE_ASIO::execution_context::id id;

  explicit ContextService(CORVANE_ASIO::execution_context& context)
      : CORVANE_ASIO::execution_context::service(context) {}
  // One that was made while the context shuts down, as by a handler's destructor, is not told of it.
  ~ContextService() override { gate_->end(); }

  const std::shared_ptr<detail::ContextGate>& gate() const { return gate_; }

 private:
  void shutdown() override { gate_->end(); }

  const std::shared_ptr<detail::ContextGate> gate_ = std::make_shared<detail::ContextGate>();
};

template <class Executor>
concept IsExecutor = CORVANE_ASIO::execution::is_executor<Executor>::value;
template <class Context>
concept IsContext = std::derived_from<Context, CORVANE_ASIO::execution_context>;

/// Services shut down in the reverse order of their making: that of strands must not before the gate has ended.
template <class Executor>
std::shared_ptr<detail::ContextGate> gateOf(const Executor& executor, CORVANE_ASIO::execution_context& context) {
  if (!CORVANE_ASIO::has_service<ContextService>(context)) (void)CORVANE_ASIO::make_strand(executor);
  return CORVANE_ASIO::use_service<ContextService>(context).gate();
}
/// The executor of `use_future` names its context by a member only, as the Networking TS has it. Of an executor that
/// names no context at all, it is not known when it ends: it must outlive its use.
template <class Executor>
std::shared_ptr<detail::ContextGate> gateOf(const Executor& executor) {
  using Context = CORVANE_ASIO::execution::context_t;
  if constexpr (CORVANE_ASIO::can_query_v<const Executor&, Context>) {
    return gateOf(executor, CORVANE_ASIO::query(executor, Context()));
  } else {
    static_assert(!std::same_as<Executor, CORVANE_ASIO::io_context::strand>,
                  "Use `make_strand(context)`: an `io_context::strand` may end before the gate of its context");
    if constexpr (requires { static_cast<CORVANE_ASIO::execution_context&>(executor.context()); }) {
      return gateOf(executor, static_cast<CORVANE_ASIO::execution_context&>(executor.context()));
    } else {
      static const auto& gate = *new auto(std::make_shared<detail::ContextGate>());
      return gate;
    }
  }
}

/// Something of a context, which goes with the context or with this, whichever ends first.
template <class Held>
class Binding {
 public:
  Binding(std::shared_ptr<detail::ContextGate> gate, Held held)
      : gate_(std::move(gate)), slot_(std::make_shared<Slot>(std::move(held))) {
    if (!gate_->admit(slot_)) slot_->held.reset();
  }
  Binding(Binding&&) noexcept = default;
  Binding& operator=(Binding&&) = delete;
  ~Binding() {
    if (slot_) gate_->takeOut(*slot_, [this] { slot_->held.reset(); });
  }

  /// Calls the function with it; false when the context is gone.
  template <class Function>
  bool use(Function function) const {
    return gate_->use(*slot_, [&] { function(*slot_->held); });
  }

 private:
  struct Slot final : detail::ContextGate::Slot {
    explicit Slot(Held value) : held(std::in_place, std::move(value)) {}
    void shutdown() override { held.reset(); }

    std::optional<Held> held;
  };

  std::shared_ptr<detail::ContextGate> gate_;
  std::shared_ptr<Slot> slot_;
};

/// Submits blocks to an executor, and is work for it while it lives. What comes once the context is gone is dropped.
template <class Executor>
class Submission {
 public:
  explicit Submission(const Executor& executor) : work_(gateOf(executor), Work(executor)) {}

  void operator()(platform::Block block) const {
    work_.use([&](const Work& work) { CORVANE_ASIO::post(work.get_executor(), std::move(block)); });
  }

 private:
  using Work = CORVANE_ASIO::executor_work_guard<Executor>;

  Binding<Work> work_;
};

}  // namespace asio_detail
}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
