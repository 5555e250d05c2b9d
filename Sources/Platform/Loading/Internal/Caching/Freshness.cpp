#include "Platform/Loading/Internal/Caching/Freshness.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Loading/HTTPDate.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

constexpr std::int64_t secondsPerDay = 86400;

/// Of a repeated field the first counts (RFC 9111, 4.2.1).
std::optional<std::string> first(const HTTPHeaderFields& fields, std::string_view name) {
  const auto found = std::find_if(fields.begin(), fields.end(), [&](const HTTPHeaderFields::Field& field) {
    return equalsIgnoringCase(field.first, name);
  });
  return found == fields.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::int64_t> date(const HTTPHeaderFields& fields, std::string_view name) {
  const auto value = first(fields, name);
  return value ? secondsSince1970(*value) : std::nullopt;
}

std::int64_t heuristicLifetime(const HTTPHeaderFields& fields, std::int64_t sent) {
  const auto modified = date(fields, "Last-Modified");
  return modified ? std::clamp<std::int64_t>((sent - *modified) / 10, 0, secondsPerDay) : 0;
}

}  // namespace

bool isCacheableByDefault(int statusCode) {
  switch (statusCode) {
    case 200:
    case 203:
    case 204:
    case 300:
    case 301:
    case 308:
    case 404:
    case 405:
    case 410:
    case 414:
    case 501:
      return true;
    default:
      return false;
  }
}

std::int64_t freshnessLifetime(int statusCode, const HTTPHeaderFields& fields, const CacheControl& control,
                               std::int64_t received) {
  if (control.maxAge) return *control.maxAge;
  const std::int64_t sent = date(fields, "Date").value_or(received);
  if (fields.contains("Expires")) {
    const auto expires = date(fields, "Expires");
    return expires ? std::clamp<std::int64_t>(*expires - sent, 0, CacheControl::unlimited) : 0;
  }
  return isCacheableByDefault(statusCode) ? heuristicLifetime(fields, sent) : 0;
}

std::int64_t initialAge(const HTTPHeaderFields& fields, std::int64_t received, std::int64_t delay) {
  const std::int64_t apparent = std::max<std::int64_t>(0, received - date(fields, "Date").value_or(received));
  const std::string stated = first(fields, "Age").value_or("");
  const auto age = CacheControl::deltaSeconds(trimmed(std::string_view(stated).substr(0, stated.find(','))));
  return std::min(std::max(apparent, age.value_or(0) + delay), CacheControl::unlimited);
}

}  // namespace platform::detail
