#include "Platform/Loading/Internal/StrongValidator.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

#include "Platform/Loading/HTTPDate.hpp"

namespace platform::detail {

namespace {

constexpr std::int64_t secondsBetweenClocks = 60;
constexpr std::size_t longestValidator = 1024;

bool isTagCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte == 0x21 || (byte >= 0x23 && byte != 0x7F);
}

/// RFC 9110, 8.8.3: an opaque tag in quotes, without "W/".
bool isStrongTag(std::string_view tag) {
  if (tag.size() < 2 || tag.size() > longestValidator || tag.front() != '"' || tag.back() != '"') return false;
  tag = tag.substr(1, tag.size() - 2);
  return std::all_of(tag.begin(), tag.end(), isTagCharacter);
}

std::optional<std::string> onlyValue(const HTTPHeaderFields& fields, std::string_view name) {
  std::vector<std::string> values = fields.values(name);
  if (values.size() != 1) return std::nullopt;
  return std::move(values.front());
}

}  // namespace

std::optional<std::string> strongValidator(const HTTPHeaderFields& fields) {
  if (fields.contains("ETag")) {
    auto tag = onlyValue(fields, "ETag");
    return tag && isStrongTag(*tag) ? tag : std::nullopt;
  }
  auto modified = onlyValue(fields, "Last-Modified");
  const auto date = onlyValue(fields, "Date");
  if (!modified || !date || modified->size() > longestValidator) return std::nullopt;
  const auto modifiedAt = platform::secondsSince1970(*modified);
  const auto sentAt = platform::secondsSince1970(*date);
  if (!modifiedAt || !sentAt || *sentAt - *modifiedAt < secondsBetweenClocks) return std::nullopt;
  return modified;
}

bool isStrongValidator(std::string_view text) {
  return isStrongTag(text) || (text.size() <= longestValidator && platform::secondsSince1970(text).has_value());
}

bool contradicts(const HTTPHeaderFields& fields, const std::string& validator) {
  const auto own = onlyValue(fields, validator.starts_with('"') ? "ETag" : "Last-Modified");
  return own && *own != validator;
}

}  // namespace platform::detail
