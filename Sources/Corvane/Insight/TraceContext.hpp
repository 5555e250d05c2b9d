#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace corvane {

/// Where a request stands in a distributed trace: W3C Trace Context, level 1 (https://www.w3.org/TR/trace-context-1/).
/// It is sent as the header fields "traceparent" and "tracestate". An immutable value, always valid.
class CORVANE_API TraceContext {
 public:
  /// 16 bytes, not all of them zero.
  using TraceID = std::array<std::uint8_t, 16>;
  /// 8 bytes, not all of them zero. "traceparent" has it as the parent of what the server does.
  using SpanID = std::array<std::uint8_t, 8>;

  /// Absent when an identifier has only zeros. A state that breaks the rules is left out, as the recommendation asks.
  static std::optional<TraceContext> of(const TraceID& trace, const SpanID& span, bool isSampled,
                                        std::string_view state = {});
  /// Reads the values of the two header fields. Absent for a "traceparent" that is not valid; fields of a later version
  /// are read as far as this one knows them (3.2.4).
  static std::optional<TraceContext> parse(std::string_view traceparent, std::string_view tracestate = {});
  /// The beginning of a new trace, with random identifiers.
  static TraceContext random(bool isSampled = true);

  /// The same trace and state, with a new random span.
  TraceContext child() const;

  /// The identifier of the whole trace: 16 bytes, not all zero.
  const TraceID& traceID() const { return trace_; }
  /// The identifier of the span that is the parent of what the receiver does: 8 bytes, not all zero.
  const SpanID& spanID() const { return span_; }
  /// Whether the caller may have recorded the trace (flag 01). Other flags are not kept (3.2.3).
  bool isSampled() const { return isSampled_; }
  /// The value of "tracestate"; empty for none.
  const std::string& state() const { return state_; }

  /// 32 hexadecimal digits.
  std::string traceIDText() const;
  /// 16 hexadecimal digits.
  std::string spanIDText() const;
  /// The value of "traceparent": "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01".
  std::string traceparent() const;

  friend bool operator==(const TraceContext&, const TraceContext&) = default;

 private:
  TraceContext() = default;

  TraceID trace_{};
  SpanID span_{};
  bool isSampled_ = false;
  std::string state_;
};

}  // namespace corvane
