#include "Corvane/Insight/Internal/SessionInsight.hpp"

#include <optional>
#include <typeinfo>
#include <utility>

#include "Corvane/Detail/ModuleLogger.hpp"
#include "Platform/Metrics/LoggableURL.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

using platform::Error;
using platform::HTTPURLResponse;
using platform::URLSessionTask;

namespace {

/// Who is told of one task: those that were there when it began.
class ObservedTask final : public platform::URLSessionTaskObserver {
 public:
  ObservedTask(std::shared_ptr<HTTPObserver> own, std::shared_ptr<HTTPObserver> common, const platform::URL& url)
      : own_(std::move(own)), common_(std::move(common)), url_(platform::loggableURL(url)) {}

  void taskStarted(const URLSessionTask& task) override {
    tell([&](HTTPObserver& observer) { observer.exchangeStarted(exchange(task)); });
  }
  void taskReceived(const URLSessionTask& task, const std::shared_ptr<const HTTPURLResponse>& response) override {
    tell([&](HTTPObserver& observer) { observer.responseReceived(exchange(task), *response); });
  }
  void taskEnded(const URLSessionTask& task, const std::optional<Error>& error) override {
    tell([&](HTTPObserver& observer) {
      observer.exchangeEnded(exchange(task), task.metrics(), error ? &*error : nullptr);
    });
  }

 private:
  HTTPObservedExchange exchange(const URLSessionTask& task) const {
    return {.identifier = task.taskIdentifier(), .url = url_, .request = task.originalRequest()};
  }

  template <class Call>
  void tell(Call call) const {
    for (HTTPObserver* const observer : {own_.get(), common_.get()}) {
      if (observer) tell(*observer, call);
    }
  }
  template <class Call>
  static void tell(HTTPObserver& observer, Call call) {
    try {
      call(observer);
    } catch (...) {
      moduleLogger().error("An observer of exchanges threw: " + Error::current().message());
    }
  }

  const std::shared_ptr<HTTPObserver> own_;
  const std::shared_ptr<HTTPObserver> common_;
  const platform::URL url_;
};

}  // namespace

std::shared_ptr<platform::URLSessionTaskObserver> SessionInsight::observerOf(const URLSessionTask& task) {
  auto common = HTTPObserver::processWide();
  if (!observer_ && !common) return nullptr;
  return std::make_shared<ObservedTask>(observer_, std::move(common), task.originalRequest().url);
}

void SessionInsight::trace(platform::URLRequest& request, const platform::URLSession& session) {
  const platform::URLSessionObserver* const observer = session.configuration().observer.get();
  // On the way of every request, and cheaper than a dynamic cast.
  if (!observer || typeid(*observer) != typeid(SessionInsight)) return;
  const auto* const insight = static_cast<const SessionInsight*>(observer);
  if (!insight->traceContext_ || request.url.isFileURL()) return;
  if (request.allHTTPHeaderFields.contains("traceparent")) return;
  const auto context = insight->traceContext_();
  if (!context) return;
  request.allHTTPHeaderFields.set("traceparent", context->traceparent());
  // A state belongs to the context that it came with (W3C Trace Context, 3.3).
  request.allHTTPHeaderFields.remove("tracestate");
  if (!context->state().empty()) request.allHTTPHeaderFields.set("tracestate", context->state());
}

}  // namespace corvane::detail
