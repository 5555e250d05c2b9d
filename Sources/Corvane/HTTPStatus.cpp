#include "Corvane/HTTPStatus.hpp"

#include <algorithm>
#include <ostream>

#include "Platform/Loading/URLResponse.hpp"

namespace corvane {

namespace {

struct NamedStatus {
  HTTPStatus status;
  std::string_view name;
};

constexpr NamedStatus statuses[] = {
    {HTTPStatus::continue_, "continue"},
    {HTTPStatus::switchingProtocols, "switchingProtocols"},
    {HTTPStatus::success, "success"},
    {HTTPStatus::created, "created"},
    {HTTPStatus::accepted, "accepted"},
    {HTTPStatus::nonAuthoritativeInfo, "nonAuthoritativeInfo"},
    {HTTPStatus::noContent, "noContent"},
    {HTTPStatus::resetContent, "resetContent"},
    {HTTPStatus::partialContent, "partialContent"},
    {HTTPStatus::multipleChoices, "multipleChoices"},
    {HTTPStatus::movedPermanently, "movedPermanently"},
    {HTTPStatus::found, "found"},
    {HTTPStatus::seeOther, "seeOther"},
    {HTTPStatus::notModified, "notModified"},
    {HTTPStatus::useProxy, "useProxy"},
    {HTTPStatus::unused, "unused"},
    {HTTPStatus::temporaryRedirect, "temporaryRedirect"},
    {HTTPStatus::badRequest, "badRequest"},
    {HTTPStatus::unauthorized, "unauthorized"},
    {HTTPStatus::paymentRequired, "paymentRequired"},
    {HTTPStatus::forbidden, "forbidden"},
    {HTTPStatus::notFound, "notFound"},
    {HTTPStatus::methodNotAllowed, "methodNotAllowed"},
    {HTTPStatus::notAcceptable, "notAcceptable"},
    {HTTPStatus::proxyAuthenticationRequired, "proxyAuthenticationRequired"},
    {HTTPStatus::requestTimeout, "requestTimeout"},
    {HTTPStatus::conflict, "conflict"},
    {HTTPStatus::gone, "gone"},
    {HTTPStatus::lengthRequired, "lengthRequired"},
    {HTTPStatus::preconditionFailed, "preconditionFailed"},
    {HTTPStatus::requestEntityTooLarge, "requestEntityTooLarge"},
    {HTTPStatus::requestURITooLong, "requestURITooLong"},
    {HTTPStatus::unsupportedMediaType, "unsupportedMediaType"},
    {HTTPStatus::requestedRangeNotSatisfiable, "requestedRangeNotSatisfiable"},
    {HTTPStatus::expectationFailed, "expectationFailed"},
    {HTTPStatus::internalServerError, "internalServerError"},
    {HTTPStatus::notImplemented, "notImplemented"},
    {HTTPStatus::badGateway, "badGateway"},
    {HTTPStatus::serviceUnavailable, "serviceUnavailable"},
    {HTTPStatus::gatewayTimeout, "gatewayTimeout"},
    {HTTPStatus::httpVersionNotSupported, "httpVersionNotSupported"},
    {HTTPStatus::unknown, "unknown"},
};

struct RegisteredCode {
  int code;
  std::string_view reasonPhrase;
};

/// The IANA registry of status codes.
constexpr RegisteredCode registeredCodes[] = {
    {100, "Continue"},
    {101, "Switching Protocols"},
    {102, "Processing"},
    {103, "Early Hints"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {203, "Non-Authoritative Information"},
    {204, "No Content"},
    {205, "Reset Content"},
    {206, "Partial Content"},
    {207, "Multi-Status"},
    {208, "Already Reported"},
    {226, "IM Used"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Content"},
    {423, "Locked"},
    {424, "Failed Dependency"},
    {425, "Too Early"},
    {426, "Upgrade Required"},
    {428, "Precondition Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {451, "Unavailable For Legal Reasons"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {506, "Variant Also Negotiates"},
    {507, "Insufficient Storage"},
    {508, "Loop Detected"},
    {511, "Network Authentication Required"},
};
static_assert(std::ranges::is_sorted(registeredCodes, {}, &RegisteredCode::code));

constexpr auto byRawValue = [](const NamedStatus& row) { return row.status.rawValue(); };
static_assert(std::ranges::is_sorted(statuses, {}, byRawValue));

const NamedStatus* find(int rawValue) {
  const auto* row = std::ranges::lower_bound(statuses, rawValue, {}, byRawValue);
  return row != std::end(statuses) && row->status.rawValue() == rawValue ? row : nullptr;
}

}  // namespace

std::optional<HTTPStatus> HTTPStatus::fromRawValue(int rawValue) {
  const auto* row = find(rawValue);
  return row ? std::optional(row->status) : std::nullopt;
}

std::string_view HTTPStatus::name() const { return find(rawValue_)->name; }

HTTPStatus HTTPStatus::of(int code) { return find(code) ? HTTPStatus(code) : HTTPStatus(rawValueOfUnknown, code); }

std::string_view HTTPStatus::reasonPhrase() const {
  const auto* row = std::ranges::lower_bound(registeredCodes, code_, {}, &RegisteredCode::code);
  return row != std::end(registeredCodes) && row->code == code_ ? row->reasonPhrase : std::string_view();
}

HTTPStatus status(const platform::HTTPURLResponse& response) { return HTTPStatus::of(response.statusCode()); }

std::ostream& operator<<(std::ostream& stream, HTTPStatus status) { return stream << status.name(); }

}  // namespace corvane
