#include "RetryOption.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

#include "Platform/Foundation/Internal/RealFromChars.hpp"
#include "UsageError.hpp"

namespace {

// So that no wait of so many attempts is beyond 64 bits.
constexpr std::int64_t mostAttempts = 1'000'000;
constexpr std::int64_t mostSeconds = 1'000'000'000;

[[noreturn]] void refuse(const std::string& problem) { throw UsageError("--retry: " + problem); }

template <class Number>
std::optional<Number> number(std::string_view text) {
  Number value{};
  const auto [end, error] = platform::detail::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// One of the words between the commas.
struct Item {
  explicit Item(std::string_view text)
      : key(text.substr(0, text.find('='))),
        value(text.find('=') == text.npos ? std::nullopt : std::optional(text.substr(key.size() + 1))) {}

  double seconds() const { return fraction(static_cast<double>(mostSeconds), "a number of seconds"); }
  double fraction(double most, const std::string& what) const {
    const auto result = number<double>(value.value_or(""));
    if (!result || !std::isfinite(*result) || *result < 0 || *result > most) refuseAs(what);
    return *result;
  }
  std::int64_t whole(std::int64_t most, const std::string& what) const {
    const auto result = number<std::int64_t>(value.value_or(""));
    if (!result || *result < 0 || *result > most) refuseAs(what + " from 0 to " + std::to_string(most));
    return *result;
  }
  bool flag() const {
    if (value) refuse("'" + std::string(key) + "' takes no value");
    return true;
  }

  std::string_view key;
  std::optional<std::string_view> value;

 private:
  [[noreturn]] void refuseAs(const std::string& what) const {
    if (!value) refuse("'" + std::string(key) + "' needs a value");
    refuse(std::string(key) + "='" + std::string(*value) + "' is not " + what);
  }
};

std::vector<Item> items(std::string_view text) {
  std::vector<Item> result;
  while (true) {
    const std::size_t comma = text.find(',');
    result.emplace_back(text.substr(0, comma));
    if (comma == text.npos) return result;
    text.remove_prefix(comma + 1);
  }
}

void add(const Item& item, RetryOption& option) {
  if (item.key == "interval") {
    option.intervalInSeconds = item.seconds();
  } else if (item.key == "limit") {
    option.limit = item.whole(mostAttempts, "a whole number");
  } else if (item.key == "delta") {
    option.deltaInSeconds = item.whole(mostSeconds, "a whole number of seconds");
  } else if (item.key == "longest") {
    option.policy.longestWait = item.seconds();
  } else if (item.key == "jitter") {
    option.policy.jitter = item.fraction(1, "a number from 0 to 1");
  } else if (item.key == "transient") {
    option.isForTransientFailures = item.flag();
  } else if (item.key == "retry-after") {
    option.policy.honorsRetryAfter = item.flag();
  } else {
    refuse("'" + std::string(item.key) +
           "' is unknown; there are interval, limit, delta, longest, jitter, transient and retry-after");
  }
}

}  // namespace

RetryOption retryOption(const std::string& text) {
  RetryOption option{};
  std::vector<std::string_view> keys;
  const auto isGiven = [&](std::string_view key) { return std::find(keys.begin(), keys.end(), key) != keys.end(); };
  for (const Item& item : items(text)) {
    if (isGiven(item.key)) refuse("'" + std::string(item.key) + "' may be given only once");
    add(item, option);
    keys.push_back(item.key);
  }
  for (const char* needed : {"interval", "limit"}) {
    if (!isGiven(needed)) refuse(std::string("'") + needed + "' is needed: write interval=SECONDS,limit=N");
  }
  return option;
}
