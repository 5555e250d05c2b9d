#include "Platform/Networking/HTTP1/FramingFields.hpp"

#include <cstddef>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

constexpr std::string_view contentLength = "Content-Length";
constexpr std::string_view transferEncoding = "Transfer-Encoding";
constexpr std::string_view connection = "Connection";

/// The digits of a number without the zeros before it.
std::string_view withoutLeadingZeros(std::string_view digits) {
  const std::size_t first = digits.find_first_not_of('0');
  return digits.substr(first == digits.npos ? digits.size() - 1 : first);
}

}  // namespace

std::optional<std::string> FramingFields::take(std::string_view name, std::string_view& value, Use& use) {
  use = Use::keep;
  switch (name.size()) {
    case contentLength.size():
      if (!detail::equalsIgnoringCase(name, contentLength)) break;
      use = hasLength() ? Use::dropRepetition : Use::length;
      return takeLength(value);
    case transferEncoding.size():
      if (!detail::equalsIgnoringCase(name, transferEncoding)) break;
      if (!detail::equalsIgnoringCase(value, "chunked")) {
        return "the Transfer-Encoding \"" + detail::printable(value) + "\" is not \"chunked\"";
      }
      if (isChunked_) return "the Transfer-Encoding \"chunked, chunked\" is not \"chunked\"";
      isChunked_ = true;
      break;
    case connection.size():
      if (detail::equalsIgnoringCase(name, connection)) takeConnection(value);
      break;
    default:
      break;
  }
  return std::nullopt;
}

std::optional<std::string> FramingFields::takeLength(std::string_view& value) {
  std::optional<std::string> problem;
  std::string_view digits;
  detail::forEachListElement(value, [&](std::string_view element) {
    if (problem) return;
    const auto bytes = detail::decimal(element);
    if (!bytes) {
      problem = "the Content-Length is not a number of bytes";
    } else if (hasLength() && length_ != *bytes) {
      problem = "the response has differing Content-Length fields";
    } else {
      length_ = *bytes;
      digits = element;
    }
  });
  if (!problem) value = withoutLeadingZeros(digits);
  return problem;
}

void FramingFields::takeConnection(std::string_view value) {
  detail::forEachListElement(value, [this](std::string_view option) {
    if (detail::equalsIgnoringCase(option, "close")) saysClose_ = true;
    if (detail::equalsIgnoringCase(option, "keep-alive")) saysKeepAlive_ = true;
  });
}

}  // namespace platform::networking
