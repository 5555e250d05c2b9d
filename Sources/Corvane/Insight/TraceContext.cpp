#include "Corvane/Insight/TraceContext.hpp"

#include <algorithm>
#include <cstddef>
#include <span>

#include "Corvane/Insight/Internal/TraceState.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace corvane {

namespace {

// version "-" trace-id "-" parent-id "-" trace-flags (3.2)
constexpr std::size_t traceAt = 3;
constexpr std::size_t spanAt = 36;
constexpr std::size_t flagsAt = 53;
constexpr std::size_t lengthOfParent = 55;
constexpr std::uint8_t sampledFlag = 1;

bool hasOnlyZeros(std::span<const std::uint8_t> bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

/// Lower-case digits alone, two for each byte.
bool readHex(std::string_view text, std::span<std::uint8_t> bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::size_t high = digits.find(text[2 * i]);
    const std::size_t low = digits.find(text[2 * i + 1]);
    if (high == digits.npos || low == digits.npos) return false;
    bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return true;
}

std::string hex(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text += digits[byte / 16];
    text += digits[byte % 16];
  }
  return text;
}

/// All bytes of a random UUID are random but for two, which hold its version and variant (RFC 9562, 5.4).
void fillRandomly(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto random = platform::UUID().bytes();
    const std::size_t count = std::min<std::size_t>(bytes.size(), 6);
    std::copy_n(random.begin() + 10, count, bytes.begin());
    bytes = bytes.subspan(count);
  }
}

template <class Identifier>
Identifier randomIdentifier() {
  Identifier identifier{};
  while (hasOnlyZeros(identifier)) fillRandomly(identifier);
  return identifier;
}

bool hasDashes(std::string_view parent) {
  return parent[traceAt - 1] == '-' && parent[spanAt - 1] == '-' && parent[flagsAt - 1] == '-';
}

}  // namespace

std::optional<TraceContext> TraceContext::of(const TraceID& trace, const SpanID& span, bool isSampled,
                                             std::string_view state) {
  if (hasOnlyZeros(trace) || hasOnlyZeros(span)) return std::nullopt;
  TraceContext context;
  context.trace_ = trace;
  context.span_ = span;
  context.isSampled_ = isSampled;
  context.state_ = detail::validTraceState(state);
  return context;
}

std::optional<TraceContext> TraceContext::parse(std::string_view traceparent, std::string_view tracestate) {
  std::array<std::uint8_t, 1> version{};
  std::array<std::uint8_t, 1> flags{};
  TraceID trace{};
  SpanID span{};
  if (traceparent.size() < lengthOfParent || !hasDashes(traceparent)) return std::nullopt;
  const bool isRead = readHex(traceparent, version) && readHex(traceparent.substr(traceAt), trace) &&
                      readHex(traceparent.substr(spanAt), span) && readHex(traceparent.substr(flagsAt), flags);
  if (!isRead || version[0] == 0xFF) return std::nullopt;
  const std::string_view rest = traceparent.substr(lengthOfParent);
  if (!rest.empty() && (version[0] == 0 || rest.front() != '-')) return std::nullopt;
  return of(trace, span, (flags[0] & sampledFlag) != 0, tracestate);
}

TraceContext TraceContext::random(bool isSampled) {
  TraceContext context;
  context.trace_ = randomIdentifier<TraceID>();
  context.span_ = randomIdentifier<SpanID>();
  context.isSampled_ = isSampled;
  return context;
}

TraceContext TraceContext::child() const {
  TraceContext context = *this;
  context.span_ = randomIdentifier<SpanID>();
  return context;
}

std::string TraceContext::traceIDText() const { return hex(trace_); }

std::string TraceContext::spanIDText() const { return hex(span_); }

std::string TraceContext::traceparent() const {
  return "00-" + traceIDText() + "-" + spanIDText() + (isSampled_ ? "-01" : "-00");
}

}  // namespace corvane
