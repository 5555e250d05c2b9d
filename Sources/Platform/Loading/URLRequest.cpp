#include "Platform/Loading/URLRequest.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "Platform/Loading/URLBodyStream.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform {

namespace {

using detail::equalsIgnoringCase;
using detail::printable;

/// What is known of a body before it is sent.
struct BodyFacts {
  bool isThere = false;
  /// Absent where it is not known.
  std::optional<std::uint64_t> length = 0;

  bool isEmpty() const { return length == std::uint64_t{0}; }
};

std::string methodProblem(const std::string& method, const BodyFacts& body) {
  if (method.empty()) return "The request's method is empty.";
  if (!detail::isToken(method))
    return "The request's method \"" + printable(method) +
           "\" is not a token: letters, digits and some signs, without spaces.";
  if (method == "CONNECT") return "The method CONNECT opens a tunnel and cannot be sent as a request.";
  // An empty body is none for HEAD; anything else would be taken for the next request (RFC 9110, 9.3.2).
  if (method == "HEAD" && !body.isEmpty()) return "A HEAD request may not have a body.";
  if (method == "TRACE" && body.isThere) return "A TRACE request may not have a body.";  // RFC 9110, 9.3.8
  return {};
}

bool isRegisteredName(std::string_view host) {
  constexpr std::string_view others = "-._~!$&'()*+,;=%";
  return !host.empty() && std::all_of(host.begin(), host.end(), [&](char c) {
    return detail::isLetterOrDigit(c) || others.find(c) != others.npos;
  });
}

bool isIPv6Literal(std::string_view text) {
  in6_addr address{};
  return ::inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1;
}

/// uri-host [ ":" port ] (RFC 9110, 7.2).
bool isHostAndPort(std::string_view text) {
  const std::size_t bracket = text.starts_with('[') ? text.find(']') : 0;
  if (bracket == text.npos) return false;
  const std::size_t colon = std::min(text.find(':', bracket), text.size());
  const std::string_view host = text.substr(0, colon);
  if (colon < text.size()) {
    const auto port = detail::decimal(text.substr(colon + 1));
    if (!port || *port > 65535) return false;
  }
  if (bracket > 0) return host.size() == bracket + 1 && isIPv6Literal(host.substr(1, bracket - 1));
  return isRegisteredName(host);
}

bool holdsOnly(std::string_view list, std::initializer_list<std::string_view> allowed) {
  const auto elements = detail::listElements(list);
  return std::all_of(elements.begin(), elements.end(), [&](std::string_view element) {
    return std::any_of(allowed.begin(), allowed.end(), [&](auto one) { return equalsIgnoringCase(element, one); });
  });
}

bool isConnectionManagement(std::string_view name) {
  static constexpr std::array<std::string_view, 5> names = {"Transfer-Encoding", "Upgrade", "Keep-Alive",
                                                            "Proxy-Connection", "HTTP2-Settings"};
  return std::any_of(names.begin(), names.end(), [&](auto one) { return equalsIgnoringCase(name, one); });
}

std::string ownedFieldProblem(std::string_view name, std::string_view value, const BodyFacts& body) {
  const auto field = [&] { return "The header field \"" + printable(name) + "\""; };
  const auto quoted = [&] { return " \"" + printable(value) + "\""; };
  if (isConnectionManagement(name)) return field() + " belongs to the transport and may not be set.";
  if (equalsIgnoringCase(name, "Content-Length")) {
    const auto length = detail::decimal(detail::trimmed(value));
    if (!body.length) return field() + " says" + quoted() + ", but the length of the body is not known beforehand.";
    if (length && static_cast<std::uint64_t>(*length) == *body.length) return {};
    return field() + " says" + quoted() + ", but the body has " + std::to_string(*body.length) + " bytes.";
  }
  if (equalsIgnoringCase(name, "Connection") && !holdsOnly(value, {"close", "keep-alive"}))
    return field() + " may only say \"close\" or \"keep-alive\", not" + quoted() + ".";
  if (equalsIgnoringCase(name, "Expect") && !holdsOnly(value, {"100-continue"}))
    return field() + " may only say \"100-continue\", not" + quoted() + ".";
  if (equalsIgnoringCase(name, "TE") && !holdsOnly(value, {"trailers"}))
    return field() + " may only say \"trailers\", not" + quoted() + ".";
  if (equalsIgnoringCase(name, "Host") && !isHostAndPort(detail::trimmed(value)))
    return field() + " is not a host with an optional port:" + quoted() + ".";
  return {};
}

std::string repetitionProblem(const HTTPHeaderFields& fields) {
  for (const char* name : {"Host", "Content-Length"}) {
    const auto isThis = [&](const auto& field) { return equalsIgnoringCase(field.first, name); };
    if (std::count_if(fields.begin(), fields.end(), isThis) > 1)
      return std::string("The header field \"") + name + "\" may be set once only.";
  }
  return {};
}

std::string fieldsProblem(const HTTPHeaderFields& fields, const BodyFacts& body) {
  for (const auto& [name, value] : fields) {
    std::string problem = HTTPHeaderFields::problem(name, value);
    if (problem.empty()) problem = ownedFieldProblem(name, value, body);
    if (!problem.empty()) return problem;
  }
  return repetitionProblem(fields);
}

std::string problemOf(const URLRequest& request, const BodyFacts& body) {
  std::string problem = methodProblem(request.httpMethod, body);
  if (problem.empty()) problem = fieldsProblem(request.allHTTPHeaderFields, body);
  if (!problem.empty()) return problem;
  if (!std::isfinite(request.timeoutInterval) || request.timeoutInterval <= 0) {
    return "The request's time-out must be a positive finite number of seconds.";
  }
  if (!(request.connectTimeout > 0)) return "The request's connect time-out must be a positive number of seconds.";
  if (request.maximumBodyBytes && *request.maximumBodyBytes < 0)
    return "The request's limit for the body of the response must not be negative.";
  return {};
}

}  // namespace

std::string URLRequest::problem() const {
  if (!httpBodyStream) return problem(httpBody ? std::optional<std::size_t>(httpBody->count()) : std::nullopt);
  if (httpBody) return "The request has two bodies: `httpBody` and `httpBodyStream`.";
  return problemOf(*this, {.isThere = true, .length = httpBodyStream->length()});
}

std::string URLRequest::problem(std::optional<std::size_t> bodyLength) const {
  return problemOf(*this, {.isThere = bodyLength.has_value(), .length = bodyLength.value_or(0)});
}

}  // namespace platform
