#include "Platform/Loading/Internal/Caching/CacheControl.hpp"

#include <algorithm>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// The end of the list element that begins at `start`: the next comma outside of quotes. A quote that nothing closes
/// must not hide the directives that follow.
std::size_t endOfElement(std::string_view value, std::size_t start) {
  bool isQuoted = false;
  for (std::size_t place = start; place < value.size(); ++place) {
    if (value[place] == '"') isQuoted = !isQuoted;
    if (isQuoted && value[place] == '\\') ++place;
    if (!isQuoted && place < value.size() && value[place] == ',') return place;
  }
  return isQuoted ? std::min(value.find(',', start), value.size()) : value.size();
}

std::string_view withoutQuotes(std::string_view text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') return text.substr(1, text.size() - 2);
  return text;
}

std::int64_t seconds(std::optional<std::string_view> argument) {
  return CacheControl::deltaSeconds(argument.value_or("")).value_or(0);
}

void setOnce(std::optional<std::int64_t>& time, std::int64_t value) {
  if (!time) time = value;
}

}  // namespace

CacheControl CacheControl::of(const HTTPHeaderFields& fields) {
  CacheControl control;
  for (const auto& [name, value] : fields) {
    if (name.size() == 13 && equalsIgnoringCase(name, "Cache-Control")) control.add(value);
  }
  return control;
}

std::optional<std::int64_t> CacheControl::deltaSeconds(std::string_view digits) {
  const bool isNumber = !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
  if (!isNumber) return std::nullopt;
  return std::min(decimal(digits).value_or(unlimited), unlimited);
}

void CacheControl::add(std::string_view value) {
  for (std::size_t start = 0; start < value.size();) {
    const std::size_t end = endOfElement(value, start);
    const std::string_view element = trimmed(value.substr(start, end - start));
    start = end + 1;
    const std::size_t equals = element.find('=');
    if (equals == std::string_view::npos) {
      addDirective(element, std::nullopt);
    } else {
      addDirective(trimmed(element.substr(0, equals)), withoutQuotes(trimmed(element.substr(equals + 1))));
    }
  }
}

void CacheControl::addDirective(std::string_view name, std::optional<std::string_view> argument) {
  const auto is = [&](std::string_view directive) { return equalsIgnoringCase(name, directive); };
  if (is("no-store")) {
    noStore = true;
  } else if (is("no-cache")) {
    noCache = true;
  } else if (is("must-revalidate")) {
    mustRevalidate = true;
  } else if (is("only-if-cached")) {
    onlyIfCached = true;
  } else if (is("max-age")) {
    setOnce(maxAge, seconds(argument));
  } else if (is("max-stale")) {
    setOnce(maxStale, argument ? seconds(argument) : unlimited);
  } else if (is("min-fresh")) {
    // One that cannot be read may ask for anything.
    const bool isNumber = argument && decimal(*argument);
    setOnce(minFresh, isNumber ? seconds(argument) : unlimited);
  } else if (is("stale-while-revalidate")) {
    setOnce(staleWhileRevalidate, seconds(argument));
  } else if (is("stale-if-error")) {
    setOnce(staleIfError, seconds(argument));
  }
}

}  // namespace platform::detail
