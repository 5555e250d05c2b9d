#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "Corvane/Insight/TraceContext.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// The function that gives each request the trace context that it is sent with; copies share it.
///
///     configuration.traceContext = [] { return TraceContext::random(); };  // each request begins a trace
///     configuration.traceContext = [] { return currentSpan(); };           // a std::optional<TraceContext>
///
/// It is called once for each send, perhaps on several threads at a time, before the interceptors. A send by itself
/// calls it on the thread that sends, and so does the first attempt of a retry. Later attempts, requests of a batch and
/// polls may call it on threads of the library, where a variable of the caller's thread is not to be found: a request
/// that takes its "traceparent" along, as a header of its own, does not depend on threads. Redirects, and what
/// interceptors and the transport send again, keep the context. Where it gives nothing, nothing is added; what it
/// throws is the error of the response. The context is sent as it is: a caller that records a span of its own for the
/// request gives the `child()` of its current one.
class CORVANE_API TraceContextSource {
  using Function = platform::UniqueFunction<std::optional<TraceContext>()>;

 public:
  /// None.
  TraceContextSource() = default;
  template <class F>
    requires(!std::same_as<std::remove_cvref_t<F>, TraceContextSource> &&
             std::is_invocable_r_v<std::optional<TraceContext>, std::decay_t<F>&>)
  TraceContextSource(F&& function)  // NOLINT(google-explicit-constructor): a function is a source
      : function_(std::make_shared<Function>(std::forward<F>(function))) {}

  /// Whether there is a function.
  explicit operator bool() const { return function_ != nullptr; }
  /// Requires: not empty.
  std::optional<TraceContext> operator()() const;

 private:
  std::shared_ptr<Function> function_;
};

}  // namespace corvane
