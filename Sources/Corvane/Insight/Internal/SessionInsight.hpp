#pragma once

#include <memory>
#include <utility>

#include "Corvane/Insight/HTTPObserver.hpp"
#include "Corvane/Insight/TraceContextSource.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Platform/Loading/URLSessionObserver.hpp"

namespace corvane::detail {

/// What a session of `HTTPService` has of its configuration: tells the observer of the configuration, if there is one,
/// and that of the process of its tasks, and gives its requests their trace context.
class SessionInsight final : public platform::URLSessionObserver {
 public:
  SessionInsight(std::shared_ptr<HTTPObserver> observer, TraceContextSource traceContext)
      : observer_(std::move(observer)), traceContext_(std::move(traceContext)) {}

  /// Gives the request the fields "traceparent" and "tracestate", where the session has a source that gives something,
  /// unless the request has a "traceparent" of its own. Throws what the source throws.
  static void trace(platform::URLRequest& request, const platform::URLSession& session);

  std::shared_ptr<platform::URLSessionTaskObserver> observerOf(const platform::URLSessionTask& task) override;

 private:
  const std::shared_ptr<HTTPObserver> observer_;
  const TraceContextSource traceContext_;
};

}  // namespace corvane::detail
