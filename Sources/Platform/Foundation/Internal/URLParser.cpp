#include "Platform/Foundation/Internal/URLParser.hpp"

#include <arpa/inet.h>

#include <charconv>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform::detail {

namespace {

URLRange makeRange(std::size_t offset, std::size_t end) {
  return {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(end - offset), true};
}

/// IPvFuture of RFC 3986, 3.2.2: "v", hexadecimal digits, ".", and at least one more character.
bool isFutureAddress(std::string_view text) {
  if (text.empty() || (text.front() | 0x20) != 'v') return false;
  const std::size_t dot = text.find('.');
  if (dot == std::string_view::npos || dot == 1 || dot + 1 == text.size()) return false;
  for (const char character : text.substr(1, dot - 1)) {
    if (hexadecimalValue(character) < 0) return false;
  }
  for (const char character : text.substr(dot + 1)) {
    if (!contains(CharacterSet::userInformation, character)) return false;
  }
  return true;
}

/// A zone of an IPv6 address (RFC 6874, 2): "%25", then unreserved characters and escapes.
bool isZone(std::string_view text) {
  if (!text.starts_with("%25") || text.size() == 3) return false;
  for (std::size_t index = 3; index < text.size(); ++index) {
    if (isEscape(text, index)) {
      index += 2;
    } else if (!contains(CharacterSet::unreserved, text[index])) {
      return false;
    }
  }
  return true;
}

bool isAddress(std::string_view text) {
  const std::size_t percent = text.find('%');
  if (percent != std::string_view::npos) {
    if (!isZone(text.substr(percent))) return false;
    text = text.substr(0, percent);
    if (text.find(':') == std::string_view::npos) return false;
  }
  char terminated[INET6_ADDRSTRLEN];
  if (text.size() < sizeof terminated && text.find('\0') == std::string_view::npos) {
    text.copy(terminated, text.size());
    terminated[text.size()] = '\0';
    in6_addr address;
    if (::inet_pton(AF_INET6, terminated, &address) == 1) return true;
  }
  return isFutureAddress(text);
}

/// One character in human-readable form: itself in quotes, or its byte when it cannot be shown.
std::string shown(std::string_view text) {
  const std::size_t length = utf8CharacterLength(text);
  const auto byte = static_cast<unsigned char>(text.front());
  if (length == 0 || byte < 0x20 || byte == 0x7F) {
    constexpr char digits[] = "0123456789ABCDEF";
    return std::string("byte 0x") + digits[byte >> 4] + digits[byte & 0x0F];
  }
  return "character '" + std::string(text.substr(0, length)) + "'";
}

}  // namespace

bool URLParser::parse() {
  if (text_.empty()) return fail(Fault::empty, 0, "");
  if (text_.size() > UINT32_MAX) return fail(Fault::tooLong, 0, "");
  if (!parseScheme() || !parseAuthority()) return false;
  if (!parseComponent(layout_.path, CharacterSet::path, "?#", "path")) return false;
  if (position_ < text_.size() && text_[position_] == '?') {
    ++position_;
    if (!parseComponent(layout_.query, CharacterSet::queryOrFragment, "#", "query")) return false;
  }
  if (position_ == text_.size()) return true;
  ++position_;
  return parseComponent(layout_.fragment, CharacterSet::queryOrFragment, "", "fragment");
}

bool URLParser::mayStand(CharacterSet set) const {
  const char next = text_[position_];
  const bool isOutsideOfASCII = static_cast<unsigned char>(next) >= 0x80;
  return contains(set, next) || (isOutsideOfASCII && characters_ == Characters::all && set != CharacterSet::scheme);
}

std::size_t URLParser::find(std::string_view characters) const {
  std::size_t index = position_;
  while (index < text_.size() && characters.find(text_[index]) == std::string_view::npos) ++index;
  return index;
}

// A colon in the first segment ends a scheme: no relative path has one there (RFC 3986, 4.2).
bool URLParser::parseScheme() {
  const std::size_t end = find(":/?#");
  if (end == text_.size() || text_[end] != ':') return true;
  if (!isLetter(text_.front()) && contains(CharacterSet::anywhere, text_.front())) {
    return fail(Fault::character, 0, "first place of a scheme");
  }
  if (!take(layout_.scheme, end, CharacterSet::scheme, "scheme")) return false;
  position_ = end + 1;
  return true;
}

bool URLParser::parseAuthority() {
  if (text_.compare(position_, 2, "//") != 0) return true;
  position_ += 2;
  const std::size_t end = find("/?#");
  return parseUserInformation(end) && parseHost(end) && parsePort(end);
}

bool URLParser::parseUserInformation(std::size_t end) {
  const std::size_t at = text_.find('@', position_);
  if (at >= end) return true;
  const std::size_t colon = text_.find(':', position_);
  if (colon < at) {
    if (!take(layout_.user, colon, CharacterSet::userInformation, "user name")) return false;
    ++position_;
  }
  URLRange& last = colon < at ? layout_.password : layout_.user;
  if (!take(last, at, CharacterSet::userInformation, "user information")) return false;
  ++position_;
  return true;
}

bool URLParser::parseHost(std::size_t end) {
  if (position_ < end && text_[position_] == '[') return parseAddress(end);
  const std::size_t colon = text_.find(':', position_);
  return take(layout_.host, colon < end ? colon : end, CharacterSet::registeredName, "host");
}

bool URLParser::parseAddress(std::size_t end) {
  const std::size_t bracket = text_.find(']', position_);
  if (bracket >= end || !isAddress(text_.substr(position_ + 1, bracket - position_ - 1))) {
    return fail(Fault::address, position_, "");
  }
  layout_.host = makeRange(position_, bracket + 1);
  position_ = bracket + 1;
  return true;
}

bool URLParser::parsePort(std::size_t end) {
  if (position_ == end) return true;
  if (text_[position_] != ':') return fail(Fault::character, position_, "host");
  const std::size_t begin = ++position_;
  while (position_ < end && isDigit(text_[position_])) ++position_;
  if (position_ < end) return fail(Fault::character, position_, "port");
  layout_.port = makeRange(begin, end);
  if (begin == end) return true;
  std::uint16_t number = 0;
  const auto [last, error] = std::from_chars(text_.data() + begin, text_.data() + end, number);
  if (error != std::errc()) return fail(Fault::portNumber, begin, "");
  layout_.portNumber = number;
  return true;
}

bool URLParser::parseComponent(URLRange& range, CharacterSet set, std::string_view stops, const char* name) {
  const std::size_t begin = position_;
  while (position_ < text_.size()) {
    if (mayStand(set)) {
      ++position_;
    } else if (isEscape(text_, position_)) {
      position_ += 3;
    } else if (stops.find(text_[position_]) != std::string_view::npos) {
      break;
    } else {
      return fail(Fault::character, position_, name);
    }
  }
  range = makeRange(begin, position_);
  return true;
}

bool URLParser::take(URLRange& range, std::size_t end, CharacterSet set, const char* name) {
  const std::size_t begin = position_;
  while (position_ < end) {
    if (mayStand(set)) {
      ++position_;
    } else if (set != CharacterSet::scheme && isEscape(text_.substr(0, end), position_)) {
      position_ += 3;
    } else {
      return fail(Fault::character, position_, name);
    }
  }
  range = makeRange(begin, end);
  return true;
}

bool URLParser::fail(Fault fault, std::size_t position, const char* component) {
  fault_ = fault;
  faultPosition_ = position;
  faultComponent_ = component;
  return false;
}

std::string URLParser::characterProblem() const {
  const std::string_view rest = text_.substr(faultPosition_);
  const std::string place = " at position " + std::to_string(faultPosition_);
  if (!contains(CharacterSet::anywhere, rest.front())) return shown(rest) + place + " must be percent-encoded";
  if (rest.front() == '%' && !isEscape(rest, 0)) return "'%'" + place + " is not followed by two hexadecimal digits";
  return shown(rest) + place + " may not stand in the " + faultComponent_;
}

std::string URLParser::problem() const {
  const std::string place = " at position " + std::to_string(faultPosition_);
  switch (fault_) {
    case Fault::none:
      return "";
    case Fault::empty:
      return "it is empty";
    case Fault::tooLong:
      return "it is longer than 4 GiB";
    case Fault::character:
      return characterProblem();
    case Fault::address:
      return "the bracket" + place + " does not start an IPv6 address in brackets";
    case Fault::portNumber:
      return "the port" + place + " exceeds 65535";
  }
  return "";
}

}  // namespace platform::detail
