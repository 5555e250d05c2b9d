#include "Platform/Loading/Internal/Caching/CachedResponse.hpp"

#include <algorithm>
#include <array>
#include <string_view>

#include "Platform/Loading/Internal/Caching/Freshness.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// Fields of a connection or of a proxy, not of the response (RFC 9111, 3.1; RFC 9110, 7.6.1).
constexpr std::array<std::string_view, 10> connectionFields = {
    "Connection", "Keep-Alive", "Proxy-Authenticate", "Proxy-Authentication-Info", "Proxy-Authorization", "TE",
    "Trailer",    "Upgrade",    "Proxy-Connection",   "Transfer-Encoding"};
/// What a 304 says of these is of no use: they are about the body that is stored (RFC 9111, 3.2).
constexpr std::array<std::string_view, 3> bodyFields = {"Content-Length", "Content-Encoding", "Content-Range"};

template <std::size_t count>
bool isOneOf(const std::array<std::string_view, count>& names, std::string_view name) {
  return std::any_of(names.begin(), names.end(), [&](std::string_view each) { return equalsIgnoringCase(each, name); });
}

/// "Connection" may name further fields that are its own.
bool isOfConnection(std::string_view name, const std::vector<std::string>& connections) {
  if (isOneOf(connectionFields, name)) return true;
  bool isNamed = false;
  for (const std::string& value : connections) {
    forEachListElement(value, [&](std::string_view each) { isNamed = isNamed || equalsIgnoringCase(each, name); });
  }
  return isNamed;
}

HTTPHeaderFields storable(const HTTPHeaderFields& fields) {
  const std::vector<std::string> connections = fields.values("Connection");
  HTTPHeaderFields kept;
  for (const auto& [name, value] : fields) {
    if (!isOfConnection(name, connections)) kept.add(name, value);
  }
  return kept;
}

/// Repeated fields count as one list (RFC 9110, 5.3).
std::optional<std::string> valueOf(RequestFields request, std::string_view name) {
  std::optional<std::string> value;
  for (const auto& field : request) {
    if (!equalsIgnoringCase(field.name, name)) continue;
    value = value ? *value + ", " + std::string(field.value) : std::string(field.value);
  }
  return value;
}

/// The names that tell requests apart, with those in "Vary".
std::vector<std::string> selectingNames(const HTTPHeaderFields& fields) {
  std::vector<std::string> names = {"Authorization", "Cookie"};
  for (const std::string& value : fields.values("Vary")) {
    forEachListElement(value, [&](std::string_view name) {
      if (!name.empty()) names.emplace_back(name);
    });
  }
  return names;
}

/// No request is ever like another.
bool variesByEverything(const std::vector<std::string>& names) {
  return std::find(names.begin(), names.end(), "*") != names.end();
}

/// Whether a tag alone makes it worth keeping. All else has to be given a time: frameworks put "max-age=0" and a tag on
/// failures, too, which must not take the place of what they stand for.
bool isKeptToBeValidated(int status) {
  return isCacheableByDefault(status) && (status < 400 || status == 404 || status == 410);
}

bool isStorable(const ReceivedResponse& response, const CacheControl& control) {
  const int status = response.statusCode;
  if (status == 206 || status == 304 || control.noStore) return false;
  const bool hasValidator = response.fields.contains("ETag") || response.fields.contains("Last-Modified");
  const bool isOfUse = (hasValidator && isKeptToBeValidated(status)) ||
                       freshnessLifetime(status, response.fields, control, response.times.received.wall) > 0;
  return isOfUse && !variesByEverything(selectingNames(response.fields));
}

/// What a buffer has beyond its bytes is not worth keeping.
Data compact(Data body) {
  constexpr std::size_t slack = 4096;
  return body.capacity() > body.count() + body.count() / 8 + slack ? Data(body.span()) : std::move(body);
}

template <class Selecting>
std::size_t bytesOf(const ReceivedResponse& response, const std::vector<Selecting>& selecting) {
  constexpr std::size_t overhead = 512;
  /// There is room for so many, even where there are fewer.
  constexpr std::size_t fieldRoom = 12;
  std::size_t bytes = overhead + response.body.capacity();
  bytes += std::max(fieldRoom, response.fields.count()) * sizeof(HTTPHeaderFields::Field);
  for (const auto& [name, value] : response.fields) bytes += name.size() + value.size();
  for (const auto& [name, value] : selecting) bytes += sizeof(Selecting) + name.size() + (value ? value->size() : 0);
  return bytes;
}

}  // namespace

CachedResponse::CachedResponse(ReceivedResponse response, std::vector<Selecting> selecting)
    : response_(std::move(response)),
      selecting_(std::move(selecting)),
      control_(CacheControl::of(response_.fields)),
      lifetime_(freshnessLifetime(response_.statusCode, response_.fields, control_, response_.times.received.wall)),
      initialAge_(detail::initialAge(response_.fields, response_.times.received.wall, response_.times.delay)),
      bytes_(bytesOf(response_, selecting_)) {}

std::shared_ptr<const CachedResponse> CachedResponse::of(ReceivedResponse response, RequestFields request) {
  if (!isStorable(response, CacheControl::of(response.fields))) return nullptr;
  response.fields = storable(response.fields);
  response.body = compact(std::move(response.body));
  return make(std::move(response), request);
}

std::shared_ptr<const CachedResponse> CachedResponse::make(ReceivedResponse response, RequestFields request) {
  std::vector<Selecting> made = selecting(response.fields, request);
  return std::shared_ptr<const CachedResponse>(new CachedResponse(std::move(response), std::move(made)));
}

std::vector<CachedResponse::Selecting> CachedResponse::selecting(const HTTPHeaderFields& fields,
                                                                 RequestFields request) {
  std::vector<Selecting> selecting;
  for (std::string& name : selectingNames(fields)) {
    auto value = valueOf(request, name);
    selecting.emplace_back(std::move(name), std::move(value));
  }
  return selecting;
}

bool CachedResponse::mayBeStored() const { return isStorable(response_, control_); }

std::shared_ptr<const CachedResponse> CachedResponse::refreshed(const HTTPHeaderFields& fields, RequestFields request,
                                                                const ResponseTimes& times) const {
  ReceivedResponse response = response_;
  // The old ones are not of the new response, even if that has none.
  response.fields.remove("Age");
  response.fields.remove("Date");
  HTTPHeaderFields told;
  for (const auto& [name, value] : storable(fields)) {
    if (!isOneOf(bodyFields, name)) told.add(name, value);
  }
  for (const auto& [name, value] : told) response.fields.remove(name);
  for (const auto& [name, value] : told) response.fields.add(name, value);
  response.times = times;
  return make(std::move(response), request);
}

bool CachedResponse::isFor(RequestFields request) const {
  return std::all_of(selecting_.begin(), selecting_.end(),
                     [&](const Selecting& selecting) { return valueOf(request, selecting.first) == selecting.second; });
}

HTTPHeaderFields CachedResponse::fieldsAt(const CacheTime& now) const {
  HTTPHeaderFields fields = response_.fields;
  fields.set("Age", std::to_string(age(now)));
  return fields;
}

}  // namespace platform::detail
