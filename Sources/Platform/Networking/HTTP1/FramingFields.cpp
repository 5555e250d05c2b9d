#include "Platform/Networking/HTTP1/FramingFields.hpp"

#include <cstddef>
#include <utility>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

constexpr std::string_view contentLength = "Content-Length";
constexpr std::string_view transferEncoding = "Transfer-Encoding";
constexpr std::string_view connectionName = "Connection";

/// The digits of a number without the zeros before it.
std::string_view withoutLeadingZeros(std::string_view digits) {
  const std::size_t first = digits.find_first_not_of('0');
  return digits.substr(first == digits.npos ? digits.size() - 1 : first);
}

}  // namespace

void FramingFields::reset() {
  length_ = -1;
  isChunked_ = false;
  saysClose_ = false;
  saysKeepAlive_ = false;
}

FramingFields::Use FramingFields::take(std::string_view name, std::string_view& value) {
  switch (name.size()) {
    case contentLength.size():
      return detail::equalsIgnoringCase(name, contentLength) ? takeLength(value) : Use::keep;
    case transferEncoding.size():
      if (!detail::equalsIgnoringCase(name, transferEncoding)) break;
      return takeTransferEncoding(value);
    case connectionName.size():
      if (detail::equalsIgnoringCase(name, connectionName)) takeConnection(value);
      break;
    default:
      break;
  }
  return Use::keep;
}

FramingFields::Use FramingFields::refuse(std::string problem) {
  problem_ = std::move(problem);
  return Use::refuse;
}

FramingFields::Use FramingFields::takeLength(std::string_view& value) {
  Use use = hasLength() ? Use::dropRepetition : Use::length;
  std::string_view digits;
  detail::forEachListElement(value, [&](std::string_view element) {
    if (use == Use::refuse) return;
    const auto bytes = detail::decimal(element);
    if (!bytes) {
      use = refuse("the Content-Length \"" + detail::printable(element) + "\" is not a number of bytes");
    } else if (hasLength() && length_ != *bytes) {
      use = refuse("the response has differing Content-Length fields");
    } else {
      length_ = *bytes;
      digits = element;
    }
  });
  if (use != Use::refuse) value = withoutLeadingZeros(digits);
  return use;
}

/// Empty elements of the list say nothing (RFC 9110, 5.6.1.2).
FramingFields::Use FramingFields::takeTransferEncoding(std::string_view value) {
  std::size_t codings = 0;
  bool isKnown = true;
  detail::forEachListElement(value, [&](std::string_view coding) {
    if (coding.empty()) return;
    ++codings;
    isKnown = isKnown && detail::equalsIgnoringCase(coding, "chunked");
  });
  if (codings != 1 || !isKnown) {
    return refuse("the Transfer-Encoding \"" + detail::printable(value) + "\" is not \"chunked\"");
  }
  if (isChunked_) return refuse("the Transfer-Encoding \"chunked, chunked\" is not \"chunked\"");
  isChunked_ = true;
  return Use::keep;
}

void FramingFields::takeConnection(std::string_view value) {
  detail::forEachListElement(value, [this](std::string_view option) {
    if (detail::equalsIgnoringCase(option, "close")) saysClose_ = true;
    if (detail::equalsIgnoringCase(option, "keep-alive")) saysKeepAlive_ = true;
  });
}

}  // namespace platform::networking
