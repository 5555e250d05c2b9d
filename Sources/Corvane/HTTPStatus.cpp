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

HTTPStatus status(const platform::HTTPURLResponse& response) {
  return HTTPStatus::fromRawValue(response.statusCode()).value_or(HTTPStatus::unknown);
}

std::ostream& operator<<(std::ostream& stream, HTTPStatus status) { return stream << status.name(); }

}  // namespace corvane
