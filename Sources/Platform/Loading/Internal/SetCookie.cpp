#include "Platform/Loading/Internal/SetCookie.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// How far in the future a cookie may expire (RFC 6265bis, 5.5).
constexpr std::int64_t longestLife = std::int64_t{400} * 24 * 60 * 60;

std::string_view takeUntil(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return taken;
}

/// Seconds from now on; absent when it is no number.
std::optional<std::int64_t> expiryOfMaxAge(std::string_view value, std::int64_t now) {
  const bool isNegative = value.starts_with('-');
  const std::string_view digits = value.substr(isNegative ? 1 : 0);
  if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isDigit)) return std::nullopt;
  if (isNegative) return std::numeric_limits<std::int64_t>::min();
  const std::int64_t seconds = decimal(digits).value_or(longestLife);
  if (seconds == 0) return std::numeric_limits<std::int64_t>::min();
  return now + std::min(seconds, longestLife);
}

std::string sameSiteNamed(std::string_view value) {
  for (const std::string_view name : {"Strict", "Lax", "None"}) {
    if (equalsIgnoringCase(value, name)) return std::string(name);
  }
  return {};
}

struct Lifetime {
  std::optional<std::int64_t> maxAge;
  std::optional<std::int64_t> expires;
};

void takeAttribute(std::string_view name, std::string_view value, std::int64_t now, SetCookie& cookie,
                   Lifetime& lifetime) {
  if (value.size() > SetCookie::maximumAttributeBytes) return;
  if (equalsIgnoringCase(name, "Expires")) {
    if (const auto date = cookieDate(value)) lifetime.expires = std::min(*date, now + longestLife);
  } else if (equalsIgnoringCase(name, "Max-Age")) {
    if (const auto expiry = expiryOfMaxAge(value, now)) lifetime.maxAge = expiry;
  } else if (equalsIgnoringCase(name, "Domain")) {
    if (value.starts_with('.')) value.remove_prefix(1);
    cookie.domain = lowercased(value);
  } else if (equalsIgnoringCase(name, "Path")) {
    cookie.path = value.starts_with('/') ? std::string(value) : std::string();
  } else if (equalsIgnoringCase(name, "Secure")) {
    cookie.isSecure = true;
  } else if (equalsIgnoringCase(name, "HttpOnly")) {
    cookie.isHTTPOnly = true;
  } else if (equalsIgnoringCase(name, "SameSite")) {
    cookie.sameSite = sameSiteNamed(value);
  }
}

// The parts of a date.

bool isDateDelimiter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte == 0x09 || (byte >= 0x20 && byte <= 0x2f) || (byte >= 0x3b && byte <= 0x40) ||
         (byte >= 0x5b && byte <= 0x60) || (byte >= 0x7b && byte <= 0x7e);
}

/// The number that the token begins with, of `least` to `most` digits, not followed by another digit.
std::optional<int> leadingNumber(std::string_view token, std::size_t least, std::size_t most) {
  std::size_t count = 0;
  int number = 0;
  while (count < token.size() && isDigit(token[count])) {
    if (++count > most) return std::nullopt;
    number = number * 10 + (token[count - 1] - '0');
  }
  if (count < least) return std::nullopt;
  return number;
}

std::optional<int> dayOfMonth(std::string_view token) { return leadingNumber(token, 1, 2); }
std::optional<int> yearNumber(std::string_view token) { return leadingNumber(token, 2, 4); }

struct TimeOfDay {
  int hour;
  int minute;
  int second;
};

std::optional<TimeOfDay> timeOfDay(std::string_view token) {
  std::string_view rest = token;
  const std::string_view hourText = takeUntil(rest, ':');
  const std::string_view minuteText = takeUntil(rest, ':');
  const auto isAllDigits = [](std::string_view text) { return std::all_of(text.begin(), text.end(), isDigit); };
  if (hourText.size() + minuteText.size() + 2 > token.size() || !isAllDigits(hourText) || !isAllDigits(minuteText)) {
    return std::nullopt;
  }
  const auto hour = leadingNumber(hourText, 1, 2);
  const auto minute = leadingNumber(minuteText, 1, 2);
  const auto second = leadingNumber(rest, 1, 2);
  if (!hour || !minute || !second) return std::nullopt;
  return TimeOfDay{*hour, *minute, *second};
}

std::optional<int> monthNamed(std::string_view token) {
  constexpr std::array<std::string_view, 12> names{"jan", "feb", "mar", "apr", "may", "jun",
                                                   "jul", "aug", "sep", "oct", "nov", "dec"};
  if (token.size() < 3) return std::nullopt;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (equalsIgnoringCase(token.substr(0, 3), names[i])) return static_cast<int>(i) + 1;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::int64_t> cookieDate(std::string_view text) {
  std::optional<TimeOfDay> time;
  std::optional<int> day;
  std::optional<int> month;
  std::optional<int> year;
  for (std::size_t begin = 0; begin < text.size();) {
    if (isDateDelimiter(text[begin])) {
      ++begin;
      continue;
    }
    std::size_t end = begin;
    while (end < text.size() && !isDateDelimiter(text[end])) ++end;
    const std::string_view token = text.substr(begin, end - begin);
    begin = end;
    // A token is the first thing that is still missing and that it can be.
    const auto fill = [token](auto& part, const auto& read) {
      if (part) return false;
      part = read(token);
      return part.has_value();
    };
    if (fill(time, timeOfDay) || fill(day, dayOfMonth) || fill(month, monthNamed)) continue;
    fill(year, yearNumber);
  }
  if (!time || !day || !month || !year) return std::nullopt;
  if (*year >= 70 && *year <= 99) *year += 1900;
  if (*year >= 0 && *year <= 69) *year += 2000;
  if (*year < 1601 || time->hour > 23 || time->minute > 59 || time->second > 59) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok()) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return ((days * 24 + time->hour) * 60 + time->minute) * 60 + time->second;
}

std::optional<SetCookie> SetCookie::parse(std::string_view field, std::int64_t now) {
  if (holdsForbiddenControl(field)) return std::nullopt;
  std::string_view attributes = field;
  const std::string_view pair = takeUntil(attributes, ';');
  const std::size_t equals = pair.find('=');
  SetCookie cookie;
  cookie.name = equals == pair.npos ? std::string_view() : trimmed(pair.substr(0, equals));
  cookie.value = trimmed(equals == pair.npos ? pair : pair.substr(equals + 1));
  if (cookie.name.empty() && cookie.value.empty()) return std::nullopt;
  if (cookie.name.size() + cookie.value.size() > maximumBytes) return std::nullopt;

  Lifetime lifetime;
  while (!attributes.empty()) {
    std::string_view value = takeUntil(attributes, ';');
    const bool hasValue = value.find('=') != value.npos;
    const std::string_view name = takeUntil(value, '=');
    takeAttribute(trimmed(name), hasValue ? trimmed(value) : std::string_view(), now, cookie, lifetime);
  }
  cookie.expiry = lifetime.maxAge ? lifetime.maxAge : lifetime.expires;
  return cookie;
}

}  // namespace platform::detail
