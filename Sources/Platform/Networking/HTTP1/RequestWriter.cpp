#include "Platform/Networking/HTTP1/RequestWriter.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

constexpr std::string_view version = " HTTP/1.1\r\n";
constexpr std::string_view hostName = "Host";
constexpr std::string_view lengthName = "Content-Length";
constexpr std::string_view chunkedLine = "Transfer-Encoding: chunked\r\n";
constexpr std::string_view separator = ": ";

bool isHost(const FieldView& field) { return detail::equalsIgnoringCase(field.name, hostName); }

bool asksForClose(const FieldView& field) {
  constexpr std::string_view connection = "Connection";
  if (field.name.size() != connection.size() || !detail::equalsIgnoringCase(field.name, connection)) return false;
  bool isSaid = false;
  detail::forEachListElement(
      field.value, [&](std::string_view option) { isSaid = isSaid || detail::equalsIgnoringCase(option, "close"); });
  return isSaid;
}

bool isTarget(std::string_view target) {
  return !target.empty() && target.find(' ') == target.npos && !detail::holdsForbiddenControl(target) &&
         target.find('\t') == target.npos;
}

bool canBeSent(const RequestHead& head) {
  return detail::isToken(head.method) && isTarget(head.target) && !detail::holdsLineBreakOrNUL(head.authority) &&
         std::all_of(head.fields.begin(), head.fields.end(), [](const FieldView& field) {
           return detail::isToken(field.name) && !detail::holdsLineBreakOrNUL(field.value);
         });
}

std::size_t fieldBytes(std::size_t name, std::size_t value) {
  return name + separator.size() + value + RequestWriter::lineEnd.size();
}

}  // namespace

RequestFraming RequestWriter::compose(const RequestHead& head, bool hasBody) {
  size_ = 0;
  saysClose_ = false;
  if (!canBeSent(head)) return RequestFraming::refused;
  std::array<char, 24> digits{};
  std::string_view length;
  if (head.contentLength) {
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), *head.contentLength);
    length = {digits.data(), static_cast<std::size_t>(written.ptr - digits.data())};
  }
  std::string_view host = head.authority;
  std::size_t bytes = head.method.size() + 1 + head.target.size() + version.size() + lineEnd.size() +
                      fieldBytes(hostName.size(), host.size()) + fieldBytes(lengthName.size(), length.size()) +
                      chunkedLine.size();
  for (const FieldView& field : head.fields) {
    bytes += fieldBytes(field.name.size(), field.value.size());
    if (isHost(field)) host = field.value;
    if (asksForClose(field)) saysClose_ = true;
  }
  makeRoom(bytes);

  put(head.method);
  put(" ");
  put(head.target);
  put(version);
  putField(hostName, host);  // first (RFC 9110, 7.2)
  for (const FieldView& field : head.fields) {
    if (!isHost(field)) putField(field.name, field.value);
  }
  if (head.contentLength) {
    putField(lengthName, length);
  } else if (hasBody) {
    put(chunkedLine);
  }
  put(lineEnd);
  return head.contentLength ? RequestFraming::length : hasBody ? RequestFraming::chunked : RequestFraming::none;
}

void RequestWriter::shrink() {
  size_ = 0;
  if (capacity_ <= ordinaryBytes) return;
  memory_.reset();
  capacity_ = 0;
}

void RequestWriter::makeRoom(std::size_t bytes) {
  if (bytes <= capacity_) return;
  capacity_ = std::max(bytes, ordinaryBytes);
  memory_.reset(new char[capacity_]);
}

void RequestWriter::put(std::string_view text) {
  // An empty view may have no address.
  if (text.empty()) return;
  std::memcpy(memory_.get() + size_, text.data(), text.size());
  size_ += text.size();
}

void RequestWriter::putField(std::string_view name, std::string_view value) {
  put(name);
  put(separator);
  put(value);
  put(lineEnd);
}

}  // namespace platform::networking
