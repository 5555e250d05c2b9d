#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzInput.hpp"
#include "Platform/Loading/URLResponse.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::fuzz {

namespace {

using detail::ParameterizedValue;

bool holdsCapitals(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

/// What was read can be written, and reads the same again.
void checkRoundTrip(std::string_view text) {
  const auto value = ParameterizedValue::parse(text);
  std::string written(value.value);
  for (const auto& [name, parameter] : value.parameters) {
    require(detail::isToken(name) && !holdsCapitals(name), "a parameter has a malformed name");
    require(parameter.size() <= text.size(), "a parameter is longer than the text");
    written.append("; ").append(name).append("=").append(quoted(parameter));
  }
  const auto again = ParameterizedValue::parse(written);
  require(again.value == value.value, "a value that is written reads otherwise");
  require(again.parameters == value.parameters, "parameters that are written read otherwise");
}

/// Each line is a field.
void check(std::string_view input) {
  HTTPHeaderFields fields;
  while (!input.empty()) {
    const std::string_view line = takeLine(input);
    checkRoundTrip(line);
    fields.add("Content-Type", line);
  }
  const HTTPURLResponse response("https://example.com/", 200, "HTTP/1.1", fields);
  if (const auto& type = response.mimeType()) {
    const std::size_t slash = type->find('/');
    require(slash != type->npos && detail::isToken(std::string_view(*type).substr(0, slash)) &&
                detail::isToken(std::string_view(*type).substr(slash + 1)),
            "a media type is malformed");
    require(!holdsCapitals(*type), "a media type is not lower-case");
  } else {
    require(!response.textEncodingName(), "there is a charset without a type");
  }
  if (const auto& charset = response.textEncodingName()) {
    require(!charset->empty() && !holdsCapitals(*charset), "a charset is empty or not lower-case");
  }
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
