#include "Platform/Networking/HTTP2/HTTP2HeaderBlock.hpp"

#include <algorithm>
#include <array>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

/// The characters of a token (RFC 9110, 5.6.2) but for upper-case letters, which have no place in a name over HTTP/2.
constexpr std::array<bool, 256> nameCharacters = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("!#$%&'*+-.^_`|~0123456789abcdefghijklmnopqrstuvwxyz")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

bool isName(std::string_view text) {
  const auto fits = [](char c) { return nameCharacters[static_cast<unsigned char>(c)]; };
  return !text.empty() && std::all_of(text.begin(), text.end(), fits);
}

bool isValue(std::string_view text) {
  if (text.empty()) return true;
  // Spaces around it are forbidden here (RFC 9113, 8.2.1), while HTTP/1.1 takes them off.
  return !detail::isSpaceOrTab(text.front()) && !detail::isSpaceOrTab(text.back()) &&
         !detail::holdsLineBreakOrNUL(text);
}

bool belongsToAConnection(std::string_view name) {
  switch (name.size()) {
    case 7:
      return name == "upgrade";
    case 10:
      return name == "connection" || name == "keep-alive";
    case 16:
      return name == "proxy-connection";
    case 17:
      return name == "transfer-encoding";
    default:
      return false;
  }
}

}  // namespace

void HTTP2HeaderBlock::begin() {
  constexpr std::size_t keptBytes = 16384;
  if (text_.capacity() > keptBytes) {
    text_ = {};
    entries_ = {};
    fields_ = {};
  }
  text_.clear();
  entries_.clear();
  statusCode_ = 0;
  contentLength_ = -1;
}

std::optional<std::string_view> HTTP2HeaderBlock::add(std::string_view name, std::string_view value,
                                                      std::size_t& total) {
  total += name.size() + value.size() + overheadBytes;
  if (total > maximumBytes) return "header block exceeds 262144 bytes";
  if (name == ":status") {
    statusCode_ = value.size() == 3 ? static_cast<int>(detail::decimal(value).value_or(0)) : 0;
    return statusCode_ < 100 ? std::optional<std::string_view>("the status is out of range") : std::nullopt;
  }
  if (!isName(name)) return "the name of a header field is malformed";
  if (!isValue(value)) return "the value of a header field holds what it must not";
  if (belongsToAConnection(name)) return "a header field of the connection has no place in HTTP/2";
  if (name == "content-length") {
    const std::optional<std::int64_t> length = detail::decimal(value);
    if (!length) return "the Content-Length is not a number of bytes";
    if (contentLength_ >= 0 && contentLength_ != *length) return "the response has differing Content-Length fields";
    contentLength_ = *length;
  }
  text_.append(name).append(value);
  entries_.push_back({static_cast<std::uint32_t>(name.size()), static_cast<std::uint32_t>(value.size())});
  return std::nullopt;
}

std::span<const FieldView> HTTP2HeaderBlock::fields() {
  fields_.clear();
  std::string_view rest = text_;
  for (const Entry& entry : entries_) {
    fields_.push_back({rest.substr(0, entry.nameBytes), rest.substr(entry.nameBytes, entry.valueBytes)});
    rest.remove_prefix(entry.nameBytes + entry.valueBytes);
  }
  return fields_;
}

}  // namespace platform::networking
