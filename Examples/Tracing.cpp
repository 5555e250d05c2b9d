// Spans in the form of OpenTelemetry: each request carries a trace context, and becomes a span with the attributes of
// the semantic conventions for HTTP clients. In place of an exporter, spans are printed.
//
//   example_Tracing [URL]

#include <Corvane/Corvane.hpp>
#include <Corvane/Insight/HTTPMetrics.hpp>
#include <Corvane/Insight/HTTPObserver.hpp>
#include <cstdio>
#include <map>
#include <string>

using namespace corvane;

/// What an SDK of OpenTelemetry has as its current span, one for each thread.
thread_local std::optional<TraceContext> currentSpan;

struct Span {
  std::string name;
  std::optional<TraceContext> context;
  std::map<std::string, std::string> attributes;
};

void print(const Span& span) {
  std::printf("%s%s\n", span.name.c_str(), span.context && span.context->isSampled() ? ", sampled" : "");
  for (const auto& [name, value] : span.attributes) std::printf("  %s = %s\n", name.c_str(), value.c_str());
}

class SpanRecorder : public HTTPObserver {
 public:
  void exchangeStarted(const HTTPObservedExchange& exchange) override {
    Span& span = spans_[exchange.identifier];
    span.name = exchange.request.httpMethod;
    if (const auto parent = exchange.request.allHTTPHeaderFields.value("traceparent")) {
      span.context = TraceContext::parse(*parent);
    }
    span.attributes = {{"http.request.method", exchange.request.httpMethod},
                       {"url.full", exchange.url.absoluteString()},
                       {"server.address", exchange.url.host().value_or("")}};
    if (const auto port = exchange.url.port()) span.attributes["server.port"] = std::to_string(*port);
  }

  void exchangeEnded(const HTTPObservedExchange& exchange, const std::shared_ptr<const TaskMetrics>& metrics,
                     const Error* error) override {
    Span span = std::move(spans_.extract(exchange.identifier).mapped());
    if (error) span.attributes["error.type"] = error->domain() + " " + std::to_string(error->code());
    if (!metrics->transactions.empty()) describe(metrics->transactions.back(), span);
    if (const std::size_t sent = metrics->transactions.size(); sent > 1) {
      span.attributes["http.request.resend_count"] = std::to_string(sent - 1);
    }
    print(span);
  }

 private:
  static void describe(const TransactionMetrics& last, Span& span) {
    if (last.statusCode) {
      span.attributes["http.response.status_code"] = std::to_string(*last.statusCode);
      if (*last.statusCode >= 400) span.attributes["error.type"] = std::to_string(*last.statusCode);
    }
    if (!last.connection) return;
    const ConnectionMetrics& connection = *last.connection;
    span.attributes["network.protocol.version"] = connection.protocol == "h2" ? "2" : "1.1";
    span.attributes["network.peer.address"] = connection.remoteAddress.host;
    span.attributes["network.peer.port"] = std::to_string(connection.remoteAddress.port);
  }

  /// All calls are made on one queue.
  std::map<std::uint64_t, Span> spans_;
};

int main(int argc, char** argv) try {
  const URL url(argc > 1 ? argv[1] : "http://127.0.0.1:8080/status/404");
  HTTPClientConfiguration configuration;
  configuration.observer = std::make_shared<SpanRecorder>();
  configuration.traceContext = []() -> std::optional<TraceContext> {
    if (!currentSpan) return std::nullopt;
    return currentSpan->child();
  };
  HTTPClientConfiguration::setDefault(configuration);

  currentSpan = TraceContext::random();
  DataGetRequest(url).send().get();
} catch (const Error& error) {
  std::printf("%s\n", error.message().c_str());
}
