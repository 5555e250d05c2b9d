#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane::testkit::detail {

std::string_view trimmed(std::string_view text);
std::string hexadecimal(std::uint64_t value);
/// The number that the whole text is, in this base.
std::optional<std::uint64_t> number(std::string_view text, int base = 10);
std::string percentDecoded(std::string_view text);
/// The text as a JSON string, quotes included. Bytes that are not UTF-8 become U+FFFD.
std::string jsonString(std::string_view text);

}  // namespace corvane::testkit::detail
