#include "CorvaneTesting/ReceivedRequest.hpp"

#include <algorithm>

#include "CorvaneTesting/Internal/Text.hpp"
#include "Platform/Foundation/Detail/ASCII.hpp"

namespace corvane::testkit {

namespace {

/// The target without scheme and authority, which a client sends to a proxy (RFC 9112 section 3.2.2).
std::string_view originForm(std::string_view target) {
  const std::size_t scheme = target.find("://");
  if (target.empty() || target.front() == '/' || scheme == std::string_view::npos) return target;
  const std::size_t path = target.find_first_of("/?", scheme + 3);
  return path == std::string_view::npos ? "/" : target.substr(path);
}

}  // namespace

std::string ReceivedRequest::path() const {
  const std::string_view form = originForm(target);
  return std::string(form.substr(0, form.find('?')));
}

std::optional<std::string> ReceivedRequest::query() const {
  const std::size_t mark = target.find('?');
  if (mark == std::string::npos) return std::nullopt;
  return target.substr(mark + 1);
}

std::optional<std::string> ReceivedRequest::queryValue(std::string_view name) const {
  const std::string items = query().value_or("");
  for (std::string_view rest = items; !rest.empty();) {
    const std::string_view item = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    const std::size_t equals = item.find('=');
    if (detail::percentDecoded(item.substr(0, equals)) != name) continue;
    return equals == std::string_view::npos ? "" : detail::percentDecoded(item.substr(equals + 1));
  }
  return std::nullopt;
}

std::optional<std::string> ReceivedRequest::header(std::string_view name) const {
  for (const HeaderField& field : headers) {
    if (platform::detail::equalsIgnoringCase(field.name, name)) return field.value;
  }
  return std::nullopt;
}

std::vector<std::string> ReceivedRequest::headerValues(std::string_view name) const {
  std::vector<std::string> values;
  for (const HeaderField& field : headers) {
    if (platform::detail::equalsIgnoringCase(field.name, name)) values.push_back(field.value);
  }
  return values;
}

}  // namespace corvane::testkit
