#include "Platform/Loading/Internal/PartialRecord.hpp"

#include <charconv>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/StrongValidator.hpp"

namespace platform::detail {

namespace {

constexpr std::string_view firstLine = "Corvane partial download 1\n";
constexpr std::string_view lengthName = "length: ";
constexpr std::string_view totalName = "total: ";
constexpr std::string_view urlName = "url-sha256: ";
constexpr std::string_view validatorName = "validator: ";
constexpr std::string_view lastLine = "end\n";
constexpr std::string_view unknownTotal = "unknown";

std::optional<std::int64_t> recordedNumber(std::string_view digits) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size() || value < 0) return std::nullopt;
  return value;
}

/// Takes the next line, which has to begin with the name; what is after the name.
std::optional<std::string_view> takeLine(std::string_view& text, std::string_view name) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos || !text.starts_with(name) || end < name.size()) return std::nullopt;
  const std::string_view value = text.substr(name.size(), end - name.size());
  text.remove_prefix(end + 1);
  return value;
}

std::optional<SHA256Digest> recordedDigest(std::string_view hex) try {
  return SHA256Digest(hex);
} catch (const Error&) {
  return std::nullopt;
}

}  // namespace

std::string PartialRecord::text() const {
  std::string result(firstLine);
  const auto digits = lengthText(length);
  result.append(lengthName).append(digits.data(), digits.size()).append("\n");
  result.append(totalName).append(total ? std::to_string(*total) : std::string(unknownTotal)).append("\n");
  result.append(urlName).append(url.hex()).append("\n");
  result.append(validatorName).append(validator).append("\n");
  return result.append(lastLine);
}

std::optional<PartialRecord> PartialRecord::parse(std::string_view text) {
  if (!text.starts_with(firstLine)) return std::nullopt;
  text.remove_prefix(firstLine.size());
  const auto lengthDigitsRead = takeLine(text, lengthName);
  const auto totalRead = takeLine(text, totalName);
  const auto urlRead = takeLine(text, urlName);
  const auto validator = takeLine(text, validatorName);
  if (!lengthDigitsRead || !totalRead || !urlRead || !validator || !isStrongValidator(*validator) || text != lastLine)
    return std::nullopt;

  const auto length = recordedNumber(*lengthDigitsRead);
  const auto url = recordedDigest(*urlRead);
  const bool isTotalKnown = *totalRead != unknownTotal;
  const auto total = isTotalKnown ? recordedNumber(*totalRead) : std::nullopt;
  if (lengthDigitsRead->size() != lengthDigits || !length || !url || isTotalKnown != total.has_value())
    return std::nullopt;
  if (total && *length > *total) return std::nullopt;
  return PartialRecord{.length = *length, .total = total, .url = *url, .validator = std::string(*validator)};
}

std::size_t PartialRecord::lengthOffset() { return firstLine.size() + lengthName.size(); }

std::array<char, PartialRecord::lengthDigits> PartialRecord::lengthText(std::int64_t length) noexcept {
  std::array<char, lengthDigits> digits;
  auto rest = static_cast<std::uint64_t>(length);
  for (auto place = digits.rbegin(); place != digits.rend(); ++place, rest /= 10) {
    *place = static_cast<char>('0' + rest % 10);
  }
  return digits;
}

}  // namespace platform::detail
